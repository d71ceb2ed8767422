// SPDX-License-Identifier: Apache-2.0
// Driving several nodes' polling loops in step.
#include "base/Clock.h"
#include "base/Log.h"
#include "ipmi/IpmiIfc.h"
#include "node/IpmiNode.h"
#include "sel/IpmiIfcSel.h"

#include <algorithm>
#include <climits>
#include <vector>

namespace Ipmi
{

namespace
{

/// The shutdown request of a caller, which may come from a signal handler.
class ShutdownRequest
{
public:
    explicit ShutdownRequest(const volatile bool* flag) : flag_(flag) {}
    bool made() const { return flag_ && __atomic_load_n(flag_, __ATOMIC_RELAXED); }

private:
    const volatile bool* flag_;
};

void multiply(std::atomic<int>& step, int factor)
{
    step = static_cast<int>(std::clamp<long long>(static_cast<long long>(step) * factor, 1, INT_MAX));
}

void sleepOneSecond()
{
    TRX::Clock::get().sleep(std::chrono::seconds(1), -1);
}

void logWaiting(int node, int tries)
{
    constexpr int kReminder = 500;
    if (tries % kReminder == 0)
        TRX::log(LOG_WARNING, "Still waiting for poll thread for node %d to start (%d tries)...", node, tries);
    else
        TRX::log(tries == 1 ? LOG_INFO : LOG_DEBUG, "Waiting for poll thread for node %d to start...", node);
}

void logStarted(int node, int tries)
{
    constexpr int kMany = 59;
    if (tries > kMany)
        TRX::log(LOG_WARNING, "Poll thread for node %d started, but it took %d tries", node, tries);
    else if (tries > 0)
        TRX::log(LOG_DEBUG, "Poll thread for node %d started", node);
}

/// A node that has been told to poll, and its count before.
struct Triggered {
    int node;
    int pollCount;
};

/// One cycle of several nodes.
class PollRound
{
public:
    PollRound(int fullCycles, IpmiIfc::IPMI_POLL_TYPE type, ShutdownRequest shutdown)
        : fullCycles_(fullCycles), type_(type), shutdown_(shutdown)
    {
    }

    /// Begins the node's cycle, once its loop is there. @return false when the shutdown request came first
    bool trigger(int node);
    /// Waits for the cycles begun since the last wait. @return likewise
    bool wait();

private:
    void begin(int node, IpmiNode& self) TRX_REQUIRES(self.pollLock);
    void chooseCycle(int node, IpmiNode& self) TRX_REQUIRES(self.pollLock);
    static bool isDone(const Triggered& triggered);

    int fullCycles_; ///< how many eighth cycles may still be begun
    IpmiIfc::IPMI_POLL_TYPE type_;
    ShutdownRequest shutdown_;
    std::vector<Triggered> triggered_;
};

bool PollRound::trigger(int node)
{
    IpmiNode& self = g_IpmiNode[node];
    for (int tries = 0;;) {
        {
            TRX::MutexLock hold(self.pollLock);
            if (self.shutdown)
                return true;
            if (self.pollCount != 0) {
                logStarted(node, tries);
                begin(node, self);
                return true;
            }
        }
        if (shutdown_.made())
            return false;
        logWaiting(node, ++tries);
        sleepOneSecond();
    }
}

/// The loop waits, or it would have the lock.
void PollRound::begin(int node, IpmiNode& self)
{
    chooseCycle(node, self);
    const int count = self.pollCount;
    TRX::log(LOG_DEBUG, "Triggering poll for node %d, poll count = %d\n", node, count);
    self.pollType = type_;
    IpmiIfc::doPoll(node);
    if (type_ != IpmiIfc::IPMI_POLL_NONE) // a cycle of that kind is not counted
        triggered_.push_back({node, count});
}

void PollRound::chooseCycle(int node, IpmiNode& self)
{
    if ((self.pollCount + 1) % kFullPollStep != 0)
        return;
    if (fullCycles_ <= 0) {
        --self.pollCount; // put off to the next time
        return;
    }
    --fullCycles_;
    TRX::log(LOG_DEBUG, "Going to do FULL POLL for node %d\n", node);
}

bool PollRound::isDone(const Triggered& triggered)
{
    IpmiNode& self = g_IpmiNode[triggered.node];
    if (self.shutdown)
        return true;
    if (!self.pollLock.tryLock())
        return false; // in its cycle
    const bool done = self.pollCount != triggered.pollCount;
    self.pollLock.unlock();
    return done;
}

bool PollRound::wait()
{
    for (const Triggered& triggered : triggered_)
        while (!isDone(triggered)) {
            if (shutdown_.made())
                return false;
            sleepOneSecond();
        }
    triggered_.clear();
    return true;
}

/// @return false when the shutdown request ended it
bool pollNodes(int count, bool serial, PollRound& round)
{
    for (int node = 0; node < count; ++node) {
        if (!round.trigger(node))
            return false;
        if (serial) {
            TRX::log(LOG_DEBUG, "Running threads serially, waiting for node %d to complete", node);
            if (!round.wait())
                return false;
        }
    }
    if (!serial)
        TRX::log(LOG_DEBUG, "Running threads in parallel. Waiting for nodes to poll...\n");
    return round.wait();
}

} // namespace

int IpmiIfc::pollAll(int nodeCount, bool serial, IPMI_POLL_TYPE type, volatile bool* shutdownRequested)
{
    constexpr int kFewNodes = 8;
    if (isInSelHandler()) // it would wait for itself, or for another thread's handler that waits for it
        return -1;
    static std::atomic<bool> first{true};
    if (first.exchange(false)) { // so that the slow steps stay the same for each node
        multiply(SKIP_FRU_STEP, std::max(nodeCount, 1));
        multiply(SKIP_SDR_STEP, std::max(nodeCount, 1));
    }
    PollRound round(nodeCount <= kFewNodes ? 1 : nodeCount / kFewNodes + 1, type, ShutdownRequest(shutdownRequested));
    if (pollNodes(std::min(nodeCount, kNodeCount), serial, round))
        return 0;
    TRX::log(LOG_INFO, "Shutdown signal received. Returning from IpmiIfc::pollAll()");
    return -1;
}

} // namespace Ipmi
