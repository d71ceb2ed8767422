// SPDX-License-Identifier: Apache-2.0
// The records of the nodes, and their state machine.
#include "node/IpmiNode.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "entity/IpmiIfcEntity.h"
#include "ipmi/CmpiStatus.h"

#include <algorithm>
#include <limits>

namespace Ipmi
{

IpmiNode g_IpmiNode[kNodeCount];

Channel& channelOf(int node)
{
    return g_IpmiNode[node];
}

namespace
{

using State = IpmiIfc::IPMI_STATE;

constexpr int kFirstMessageId = 1445;

State stateOf(const IpmiNode& self)
{
    return static_cast<State>(self.state.load());
}

[[noreturn]] void refuse(State from, State to, State current)
{
    TRX::log(LOG_ERR, "IpmiIfc unexpected state transition: (%d->%d), Current state %d", from, to, current);
    throw CmpiStatus(CMPI_RC_ERROR, "IpmiIfc unexpected state transition");
}

/// How long one wait lasts, in microseconds. At least a millisecond, as a wait that times out is only begun again.
constexpr std::int64_t boundedWait(std::int64_t seconds, std::int64_t microseconds)
{
    constexpr std::int64_t million = 1'000'000, longest = 100LL * 365 * 86'400 * million, shortest = 1'000;
    const std::int64_t part = std::clamp(microseconds, -longest, longest);
    const std::int64_t whole = std::clamp(seconds, -longest / million, longest / million) * million;
    return std::clamp(whole + part, shortest, longest);
}
constexpr long kLongest = std::numeric_limits<long>::max(), kLeast = std::numeric_limits<long>::min();
static_assert(boundedWait(2, 500'000) == 2'500'000 && boundedWait(0, 5'000'000'000) == 5'000'000'000);
static_assert(boundedWait(-1, 0) == 1'000 && boundedWait(kLeast, kLeast) == 1'000);
static_assert(boundedWait(kLongest, kLongest) == boundedWait(kLongest, 0));

} // namespace

IpmiNode::~IpmiNode()
{
    repository.reset(); // device and pipe stay open, and no thread is told: this is meant
}

void InitIpmiNode(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    {
        TRX::MutexLock hold(self.stateLock);
        const State state = stateOf(self);
        if (state == IpmiIfc::IPMI_STATE_STARTING || state == IpmiIfc::IPMI_STATE_RUNNING)
            refuse(state, IpmiIfc::IPMI_STATE_IDLE, state);
        self.pipeIsOpen = false; // whoever begins a new life has closed it
        self.signalCmdPipeFds[FD_READ] = -1;
        self.signalCmdPipeFds[FD_WRITE] = -1;
        self.state = IpmiIfc::IPMI_STATE_IDLE;
    }
    self.NodeNum = node;
    self.nextMsgId = kFirstMessageId;
    self.pollingInterval = -1;
    {
        TRX::MutexLock hold(self.bmcInfoLock);
        self.identity = BmcIdentity();
    }
    {
        TRX::MutexLock hold(self.selLock);
        self.sel.beginLife();
    }
    {
        TRX::MutexLock hold(self.fruLock);
        self.fru = FruReading();
    }
    IpmiIfcEntityCleanUpAll(node);
    TRX::ReentrantLock load(self.loadLock);
    TRX::WriteLock hold(self.sdrLock);
    self.repository.reset();
}

void _setState(int node, State state)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::log(LOG_DEBUG, "IPMI Node %d: _setState (%d) called...", node, state);
    TRX::MutexLock hold(self.stateLock);
    self.state = state;
    self.stateCond.broadcast();
}

State _getState(int node)
{
    if (!isNode(node))
        return IpmiIfc::IPMI_STATE_NONE;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.stateLock);
    return stateOf(self);
}

void _changeState(int node, State from, State to)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::log(LOG_DEBUG, "IPMI Node %d: _changeState (%d, %d)  called...", node, from, to);
    TRX::MutexLock hold(self.stateLock);
    TRX::log(LOG_DEBUG, "IPMI Node %d: _changeState have lock", node);
    if (stateOf(self) != from)
        refuse(from, to, stateOf(self));
    TRX::log(LOG_DEBUG, "IPMI Node %d: _changeState check passed", node);
    self.state = to;
    TRX::log(LOG_DEBUG, "_changeState notifying...");
    self.stateCond.broadcast();
    TRX::log(LOG_DEBUG, "IPMI Node %d: _changeState done", node);
}

State IpmiIfc::getState(int node)
{
    return _getState(node);
}

State IpmiIfc::waitState(int node, int mask)
{
    if (!isNode(node))
        return IPMI_STATE_NONE;
    IpmiNode& self = g_IpmiNode[node];
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::waitState (%d) called...", node, mask);
    TRX::MutexLock hold(self.stateLock);
    while ((self.state & mask) == 0)
        self.stateCond.wait(self.stateLock);
    return stateOf(self);
}

State IpmiIfc::timedWaitState(int node, int mask, long seconds, long microseconds)
{
    if (!isNode(node))
        return IPMI_STATE_NONE;
    IpmiNode& self = g_IpmiNode[node];
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::timedWaitState (%d, %ld, %ld) called ...", node, mask, seconds,
             microseconds);
    TRX::MutexLock hold(self.stateLock);
    // A time-out only begins the wait again: the call ends when the state matches and never before. This is meant.
    while ((self.state & mask) == 0) {
        const std::chrono::microseconds wait(boundedWait(seconds, microseconds));
        const timespec deadline = TRX::deadlineAfter(wait);
        TRX::Clock::get().waitUntil(self.stateCond, self.stateLock, deadline);
    }
    return stateOf(self);
}

} // namespace Ipmi
