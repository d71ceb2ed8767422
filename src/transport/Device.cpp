// SPDX-License-Identifier: Apache-2.0
// Opening, closing and setting up the driver's device.
#include "transport/Device.h"

#include "base/Log.h"
#include "ipmi/IpmiNodeControl.h"
#include "transport/Channel.h"
#include "transport/DriverRequests.h"

#include <fcntl.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>

namespace Ipmi
{

namespace
{

/// A positive decimal number from the environment; 0 for anything else.
int positiveFromEnvironment(const char* name)
{
    const char* text = std::getenv(name);
    const long value = text ? std::strtol(text, nullptr, 10) : 0;
    return value > 0 && value <= INT_MAX ? static_cast<int>(value) : 0;
}

/// Takes the descriptor out of the record and closes it. 0 in a record that has never been opened is not ours.
void closeDescriptor(Channel& channel)
{
    const int fd = channel.fd.exchange(-1);
    const bool open = channel.deviceOpen.exchange(0) != 0;
    ++channel.openings;
    if (fd > 0 || (fd == 0 && open))
        close(fd);
}

} // namespace

int IpmiIfcOpenIpmiOpen(int node)
{
    if (!isNode(node))
        return -2;
    Channel& channel = channelOf(node);
    char path[32];
    std::snprintf(path, sizeof path, "/dev/ipmi%d", node);
    closeDescriptor(channel);
    const int fd = open(path, O_RDWR | O_CLOEXEC);
    channel.fd = fd;
    if (fd < 0) {
        TRX::log(LOG_ERR, "%s: open(%s, RDWR) failed %d %m", "IpmiIfcOpenIpmiOpen", path, errno);
        return -1;
    }
    channel.deviceOpen = 1;
    return fd;
}

void IpmiIfcOpenIpmiClose(int node)
{
    if (isNode(node))
        closeDescriptor(channelOf(node));
}

void ReopenPort(int node)
{
    IpmiIfcOpenIpmiClose(node);
    if (IpmiIfcOpenIpmiOpen(node) == -1)
        TRX::log(LOG_INFO, "Node %d: Unable to open node %m", node);
}

void IpmiIfcSetTimingParms(int node)
{
    const int retries = positiveFromEnvironment("CIM_IPMI_RETRIES");
    const int retryTime = positiveFromEnvironment("CIM_IPMI_RETRY_TIME");
    if ((retries == 0 && retryTime == 0) || !isNode(node))
        return;
    const int fd = channelOf(node).fd;
    ipmi_timing_parms parms{};
    if (driverRequest(fd, IPMICTL_GET_TIMING_PARMS_CMD, parms) < 0) {
        TRX::log(LOG_WARNING, "Can not get IPMI default timing parms, they will not be changed.");
        return;
    }
    TRX::log(LOG_NOTICE, "IPMI default timing parms: retries=%d, retry_time=%d(ms)", parms.retries,
             static_cast<int>(parms.retry_time_ms));
    if (retries != 0)
        parms.retries = retries;
    if (retryTime != 0)
        parms.retry_time_ms = static_cast<unsigned int>(retryTime);
    if (driverRequest(fd, IPMICTL_SET_TIMING_PARMS_CMD, parms) < 0)
        TRX::log(LOG_WARNING, "Can not set IPMI timing parms.");
    else
        TRX::log(LOG_NOTICE, "IPMI timing parms have been set to: retries=%d, retry_time=%d(ms)", parms.retries,
                 static_cast<int>(parms.retry_time_ms));
}

int IpmiIfcOpenIpmiAddressSet(int node)
{
    if (!isNode(node))
        return -1;
    unsigned int address = channelOf(node).myAddress;
    if (address == 0 || driverRequest(channelOf(node).fd, IPMICTL_SET_MY_ADDRESS_CMD, address) >= 0)
        return 0;
    TRX::log(LOG_ERR, "Node %d: IpmiIfcOpenIpmiAddressSet failed ioctl call returning -1", node);
    return -1;
}

int IpmiIfcOpenIpmiEventEnable(int node, int* enable)
{
    if (!isNode(node) || !enable)
        return -1;
    const int result = driverRequest(channelOf(node).fd, IPMICTL_SET_GETS_EVENTS_CMD, *enable);
    if (result >= 0)
        return result;
    TRX::log(LOG_ERR, "Node %d: IpmiIfcOpenIpmiEventEnable failed ioctl call rc = 0x%x returning -1", node,
             static_cast<unsigned int>(result));
    return -1;
}

} // namespace Ipmi
