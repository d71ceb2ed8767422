// SPDX-License-Identifier: Apache-2.0
// Using a node without a polling loop.
#include "ipmi/IpmiNodeControl.h"

#include "entity/IpmiIfcEntity.h"
#include "ipmi/CmpiStatus.h"
#include "node/IpmiIfcIdentity.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sel/IpmiIfcSel.h"
#include "transport/Device.h"
#include "transport/SignalPipe.h"

namespace Ipmi
{

namespace
{

constexpr unsigned int kBmcAddress = 0x20;

bool makeSignalPipe(int node)
{
    try {
        openSignalPipe(node);
        return true;
    } catch (const CmpiStatus&) {
        return false; // its text is in the log
    }
}

} // namespace

int IpmiIfcInitForCLI(int node)
{
    if (!isNode(node))
        return -2;
    IpmiNode& self = g_IpmiNode[node];
    if (self.state == IpmiIfc::IPMI_STATE_CLI)
        closeSignalPipe(node);
    InitIpmiNode(node);
    self.myAddress = kBmcAddress;
    if (!makeSignalPipe(node))
        return -1;
    if (IpmiIfcOpenIpmiAddressSet(node) != 0) {
        closeSignalPipe(node);
        return -2;
    }
    IpmiIfcSetTimingParms(node);
    self.state = IpmiIfc::IPMI_STATE_CLI;
    IpmiIfcDataGet(1);
    return 0;
}

int IpmiIfcCloseForCLI(int node)
{
    if (!isNode(node))
        return -2;
    IpmiNode& self = g_IpmiNode[node];
    closeSignalPipe(node);
    IpmiIfcOpenIpmiClose(node);
    TRX::ReentrantLock load(self.loadLock);
    IpmiIfcSdrCleanUpHeaders(node);
    IpmiIfcSdrCleanUpAll(node);
    IpmiIfcEntityCleanUpAll(node);
    IpmiIfcSelCleanUpEventHandlers(node);
    dropSelRecords(node);
    {
        TRX::MutexLock hold(self.refreshLock);
        self.roster = RefreshRoster();
    }
    {
        TRX::WriteLock hold(self.sdrLock);
        self.sensors.clear();
    }
    {
        TRX::MutexLock hold(self.fruListLock);
        self.frus.clear();
        self.fruDevices.clear();
    }
    self.state = IpmiIfc::IPMI_STATE_IDLE;
    return 0;
}

} // namespace Ipmi
