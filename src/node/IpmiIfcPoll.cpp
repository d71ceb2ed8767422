// SPDX-License-Identifier: Apache-2.0
// A node's polling loop.
#include "base/Clock.h"
#include "base/Log.h"
#include "fru/IpmiIfcFru.h"
#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"
#include "sel/IpmiIfcSel.h"
#include "transport/SignalPipe.h"

#include <algorithm>

namespace Ipmi
{

std::atomic<int> SKIP_SDR_STEP{30};
std::atomic<int> SKIP_FRU_STEP{30};

namespace
{

constexpr int kSecondsOfInterval = 16;
constexpr int kSelInfoTries = 10;
constexpr std::chrono::seconds kBeforeRetry{1};

class PollLoop
{
public:
    explicit PollLoop(int node) : node_(node), self_(g_IpmiNode[node]) {}

    /// Until the node's shutdown. What fails before the first cycle is thrown.
    void run();

private:
    void wait() TRX_REQUIRES(self_.pollLock);
    void cycle();
    void askEventLog();
    bool hasNewEntries() const;
    void refresh(bool full);
    void tellHandlers();
    void refreshFrus();

    const int node_;
    IpmiNode& self_;
    unsigned short count_ = 0, lastCount_ = 0; ///< low byte of the number of event records
    int refreshes_ = 2;                        ///< counts what refreshes readings, since the last of everything
};

void PollLoop::run()
{
    TRX::MutexLock hold(self_.pollLock); // but while it waits for its next cycle
    IpmiIfcSelGetInfo(node_, &count_);
    lastCount_ = count_;
    IpmiIfc::getLan(node_)->IpmiIfcLanInstantiate(node_);
    IpmiIfcFruInstantiateAll(node_);
    while (!self_.shutdown) {
        if (self_.pollCount == 0)
            self_.pollCount = 1;
        self_.pollType = IpmiIfc::IPMI_POLL_NORMAL;
        wait();
        if (self_.pollType == IpmiIfc::IPMI_POLL_NONE) {
            TRX::log(LOG_DEBUG, "Poll signaled for Node %d with poll type NONE. No poll performed", node_);
            continue;
        }
        if (self_.shutdown)
            break;
        ++self_.pollCount;
        try {
            cycle();
        } catch (...) {
            TRX::log(LOG_ERR, "IPMI polling thread caught exception while polling node %d", node_);
        }
    }
    TRX::log(LOG_DEBUG, "Poll loop ended, shutting down");
}

void PollLoop::wait()
{
    const int interval = self_.pollingInterval;
    if (interval < 1)
        return self_.pollCond.wait(self_.pollLock);
    const auto seconds = std::chrono::seconds(interval) * kSecondsOfInterval; // sixteen times: this is meant
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::poll sleeping for %ld second(s)", node_, static_cast<long>(seconds.count()));
    TRX::Clock::get().waitUntil(self_.pollCond, self_.pollLock, TRX::deadlineAfter(seconds));
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::poll woke up.", node_);
}

void PollLoop::cycle()
{
    askEventLog();
    const int type = self_.pollType, sinceFull = self_.pollCount % kFullPollStep;
    const bool full = hasNewEntries() || type == IpmiIfc::IPMI_POLL_FULL;
    if (full) {
        refreshes_ = 0;
        self_.pollCount += kFullPollStep - sinceFull;
    } else if (sinceFull != 0 || type == IpmiIfc::IPMI_POLL_SEL || type == IpmiIfc::IPMI_POLL_SENSORS) {
        if (sinceFull == 0)
            self_.pollCount += kFullPollStep - 1; // the next cycle is the one that this one would have been
        if (type == IpmiIfc::IPMI_POLL_SENSORS)
            IpmiIfcSensorUpdateReading(node_);
        return;
    }
    TRX::log(LOG_DEBUG,
             "IpmiIfc::poll - new events detected or skip count exceeded (skipRemaining = %d, entryCount = %d, "
             "lastEntryCount = %d)",
             (kFullPollStep - sinceFull) % kFullPollStep, count_, lastCount_);
    lastCount_ = count_;
    if (!self_.shutdown)
        refresh(full);
}

/// Keeps the count as it was when the BMC does not tell.
void PollLoop::askEventLog()
{
    for (int tries = 1; IpmiIfcSelGetInfo(node_, &count_) != 0; ++tries) {
        if (tries == kSelInfoTries) {
            TRX::log(LOG_WARNING, "Could not get SEL info for node %d after %d tries", node_, kSelInfoTries);
            return;
        }
        if (tries == 1)
            TRX::log(LOG_DEBUG, "Retrying IpmiIfcSelGetInfo");
        pause(node_, kBeforeRetry);
        if (self_.shutdown)
            return;
    }
}

bool PollLoop::hasNewEntries() const
{
    const bool wasCleared = count_ == 1 && lastCount_ != 0; // the one entry says so
    return count_ != lastCount_ && !wasCleared;
}

void PollLoop::refresh(bool full)
{
    if (full || refreshes_ % std::max(SKIP_SDR_STEP.load(), 1) == 0)
        IpmiIfcSdrGetInfo(node_);
    else
        IpmiIfcSensorUpdateReading(node_);
    tellHandlers();
    if (!full)
        ++refreshes_;
    if (full || refreshes_ % std::max(SKIP_FRU_STEP.load(), 1) == 1 % std::max(SKIP_FRU_STEP.load(), 1))
        refreshFrus();
    if (!self_.shutdown)
        IpmiIfc::getLan(node_)->IpmiIfcLanInstantiate(node_);
}

void PollLoop::refreshFrus()
{
    TRX::log(LOG_DEBUG, "IpmiIfc::poll - Refreshing FRU");
    IpmiIfcFruInstantiateAll(node_);
}

/// Handlers are called once in such a cycle without a record.
void PollLoop::tellHandlers()
{
    forEachSelHandler(node_, [](const SelHandler& handler) {
        try {
            handler.function(handler.argument, nullptr);
        } catch (const CmpiStatus& status) {
            TRX::log(LOG_WARNING, "Event handler ran into issues: %s(%d)", status.msg(), status.rc());
        } catch (...) {
            TRX::log(LOG_WARNING, "Event handler ran into issues");
        }
    });
}

} // namespace

void IpmiIfc::poll(int node)
{
    if (!isNode(node))
        return;
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::poll called", node);
    PollLoop(node).run();
}

void IpmiIfc::doPoll(int node)
{
    if (isNode(node))
        g_IpmiNode[node].pollCond.broadcast();
}

void IpmiIfc::setPollingInterval(int node, int interval)
{
    if (!isNode(node))
        return;
    g_IpmiNode[node].pollingInterval = interval;
    doPoll(node);
}

int IpmiIfc::getPollingInterval(int node)
{
    return isNode(node) ? g_IpmiNode[node].pollingInterval.load() : -1;
}

} // namespace Ipmi
