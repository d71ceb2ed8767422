// SPDX-License-Identifier: Apache-2.0
// Starting a node's loop, waking it and waiting for its cycles.
#include "RunningNode.h"

#include "Measure.h"
#include "ipmi/CmpiStatus.h"
#include "node/IpmiNode.h"

#include <chrono>

namespace Bench
{

using Ipmi::IpmiIfc;

namespace
{
int lastUsed = 0;
} // namespace

RunningNode::RunningNode() : node_(++lastUsed)
{
    if (!Ipmi::isNode(node_)) {
        error_ = "no node is left: each runs once in a process";
        return;
    }
    thread_ = std::thread([this] {
        try {
            IpmiIfc::start(node_, 0);
        } catch (const Ipmi::CmpiStatus&) {
            // The node is stopped, which the constructor sees.
        }
    });
    pthread_getcpuclockid(thread_.native_handle(), &clock_);
    IpmiIfc::waitState(node_, IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED);
    waitForCycleAfter(0);
}

RunningNode::~RunningNode()
{
    if (!thread_.joinable())
        return;
    IpmiIfc::stop(node_);
    thread_.join();
}

void RunningNode::cycle(IpmiIfc::IPMI_POLL_TYPE type)
{
    if (!error_.empty())
        return;
    Ipmi::IpmiNode& self = Ipmi::g_IpmiNode[node_];
    const int count = self.pollCount;
    self.pollType = type;
    IpmiIfc::doPoll(node_);
    waitForCycleAfter(count);
}

double RunningNode::processorTime() const
{
    return Bench::processorTime(clock_);
}

/// As IpmiIfc::pollAll, which looks once a second. The loop has the lock but while it waits; it is tried for only, so
/// that the loop never has to hand it over.
void RunningNode::waitForCycleAfter(int count)
{
    Ipmi::IpmiNode& self = Ipmi::g_IpmiNode[node_];
    while (IpmiIfc::getState(node_) == IpmiIfc::IPMI_STATE_RUNNING) {
        if (self.pollLock.tryLock()) {
            const bool done = self.pollCount != count;
            self.pollLock.unlock();
            if (done)
                return;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(100));
    }
    error_ = "the polling loop does not run: only root may, and the system log says what else it was";
}

} // namespace Bench
