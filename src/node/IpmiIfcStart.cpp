// SPDX-License-Identifier: Apache-2.0
// Beginning and ending a node's life.
#include "base/Log.h"
#include "entity/IpmiIfcEntity.h"
#include "ipmi/CmpiStatus.h"
#include "node/IpmiIfcIdentity.h"
#include "node/IpmiNode.h"
#include "node/LoopScope.h"
#include "node/OneShotCommands.h"
#include "sdr/IpmiIfcSdr.h"
#include "sel/IpmiIfcSel.h"
#include "transport/Device.h"
#include "transport/SignalPipe.h"

#include <unistd.h>

#include <cerrno>

namespace Ipmi
{

namespace
{

/// While it lives the calling thread runs the node, which is STOPPED afterwards however it ends.
class Life
{
public:
    explicit Life(int node) : node_(node), loop_(node) {}
    ~Life()
    {
        _setState(node_, IpmiIfc::IPMI_STATE_STOPPED);
        TRX::log(LOG_INFO, "Node %d: IpmiIfc polling thread stopped.", node_);
    }
    Life(const Life&) = delete;
    Life& operator=(const Life&) = delete;

private:
    int node_;
    LoopScope loop_;
};

/// The pipe of a use before that was not ended: a start that failed, or IpmiIfcInitForCLI.
void closeOldPipe(int node)
{
    const IpmiIfc::IPMI_STATE state = _getState(node);
    if (state != IpmiIfc::IPMI_STATE_STARTING && state != IpmiIfc::IPMI_STATE_RUNNING)
        closeSignalPipe(node);
}

/// Opens the device and asks who is behind it. @return false when it cannot be opened
bool openNode(int node)
{
    if (IpmiIfcOpenIpmiOpen(node) == -1) {
        TRX::log(LOG_INFO, "Node %d: Unable to open node, Error(%d):%m", node, errno);
        return false;
    }
    int noEvents = 0;
    IpmiIfcSetTimingParms(node);
    IpmiIfcOpenIpmiEventEnable(node, &noEvents);
    IpmiIfcOpenIpmiAddressSet(node);
    IpmiIfcDataGet(kOneShotCount);
    return true;
}

/// Wakes whatever the node's thread waits in: the pause between two cycles, or an exchange.
void wakeForShutdown(int node)
{
    IpmiNode& self = g_IpmiNode[node];
    self.pollCond.broadcast();
    signalPipe(node, "stop");
    // The loop may have been about to wait. It has the lock but while it waits, so that this one it cannot miss.
    TRX::MutexLock hold(self.pollLock);
    self.pollCond.broadcast();
}

void closeNode(int node)
{
    {
        TRX::MutexLock waitOut(g_IpmiNode[node].ioLock); // a command of another thread
    }
    closeSignalPipe(node);
    IpmiIfcOpenIpmiClose(node);
    IpmiIfcSdrCleanUpHeaders(node);
    IpmiIfcSdrCleanUpAll(node);
    IpmiIfcEntityCleanUpAll(node);
    IpmiIfcSelCleanUpEventHandlers(node);
}

} // namespace

void IpmiIfc::start(int node, int interval)
{
    constexpr unsigned int kBmcAddress = 0x20;
    if (!isNode(node))
        return;
    TRX::log(LOG_DEBUG, "Node %d: IpmiIfc::start(%d)", node, interval);
    closeOldPipe(node);
    InitIpmiNode(node);
    _changeState(node, IPMI_STATE_IDLE, IPMI_STATE_STARTING);
    IpmiNode& self = g_IpmiNode[node];
    self.pollingInterval = interval;
    self.pollCount = 0;
    const Life life(node);
    TRX::log(LOG_INFO, "Node %d: IpmiIfc starting initialization", node);
    if (geteuid() != 0)
        throw CmpiStatus(CMPI_RC_ERR_ACCESS_DENIED, "Only root user allowed");
    openSignalPipe(node);
    self.myAddress = kBmcAddress;
    if (!openNode(node)) {
        _changeState(node, IPMI_STATE_STARTING, IPMI_STATE_STOPPED);
        return;
    }
    _changeState(node, IPMI_STATE_STARTING, IPMI_STATE_RUNNING);
    TRX::log(LOG_INFO, "Node %d: IpmiIfc initialization complete", node);
    poll(node);
    TRX::log(LOG_INFO, "Node %d: IpmiIfc poll thread exiting", node);
}

void IpmiIfc::stop(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    if (LoopScope::isIn(node))
        throw CmpiStatus(CMPI_RC_ERROR, "IpmiIfc::stop called from a handler of the node");
    if (self.shutdown.exchange(true))
        throw CmpiStatus(CMPI_RC_ERROR, "IpmiIfc::stop called twice");
    TRX::log(LOG_INFO, "Node %d: IpmiIfc shutting down...", node);
    wakeForShutdown(node);
    waitState(node, IPMI_STATE_STOPPED);
    closeNode(node);
}

} // namespace Ipmi
