// SPDX-License-Identifier: Apache-2.0
// Opening, closing and setting up a node's device; a node's use without a polling loop.
#include "ipmi/CmpiStatus.h"
#include "node/NodeFixture.h"
#include "transport/SignalPipe.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>

#include <cstdlib>

using namespace Ipmi;

namespace
{

using Device = NodeFixture;

bool isOpen(int fd)
{
    return fcntl(fd, F_GETFD) != -1;
}

TEST_F(Device, opensAndClosesWithoutLosingDescriptors)
{
    EXPECT_EQ(node.deviceOpen, 1);
    EXPECT_NE(fcntl(node.fd, F_GETFD) & FD_CLOEXEC, 0);
    for (int i = 0; i < 100; ++i)
        ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0); // closes the one before
    const int last = node.fd;
    EXPECT_LT(last, 50);
    for (int i = 0; i < 2; ++i)
        IpmiIfcOpenIpmiClose(0);
    EXPECT_FALSE(isOpen(last));
    EXPECT_EQ(node.fd, -1);
    EXPECT_EQ(node.deviceOpen, 0);
    sim.remove();
    EXPECT_EQ(IpmiIfcOpenIpmiOpen(0), -1);
    EXPECT_EQ(errno, ENOENT);

    ASSERT_TRUE(isOpen(0)); // descriptor 0, as a record says before it is initialised, is the program's
    IpmiIfcOpenIpmiClose(3);
    closeSignalPipe(3);
    EXPECT_EQ(IpmiIfcCloseForCLI(3), 0);
    EXPECT_TRUE(isOpen(0));
    EXPECT_EQ(IpmiIfcInitForCLI(0), -2);
    EXPECT_EQ(node.signalCmdPipeFds[FD_READ], -1);
    const Lines expected{
        {LOG_ERR, "IpmiIfcOpenIpmiOpen: open(/dev/ipmi0, RDWR) failed 2 No such file or directory"},
        {LOG_ERR, "Node 0: IpmiIfcOpenIpmiAddressSet failed ioctl call returning -1"},
    };
    EXPECT_EQ(sim.log().complaints(), expected);
}

TEST_F(Device, timingComesFromTheEnvironment)
{
    const Lines getFails{{LOG_WARNING, "Can not get IPMI default timing parms, they will not be changed."}},
        setFails{{LOG_NOTICE, "IPMI default timing parms: retries=-1, retry_time=0(ms)"},
                 {LOG_WARNING, "Can not set IPMI timing parms."}};
    const auto set = [&](const char* parms) {
        return Lines{setFails[0], {LOG_NOTICE, std::string("IPMI timing parms have been set to: ") + parms}};
    };
    const struct {
        const char *retries, *time; ///< empty: not set
        unsigned int failing;       ///< this ioctl
        Lines log;
    } rows[] = {
        {"", "", 0, {}},
        {"-3", "0", 0, {}},
        {"4294967297", "2147483648", 0, {}},
        {"3", "", 0, set("retries=3, retry_time=0(ms)")},
        {"", "9", 0, set("retries=-1, retry_time=9(ms)")},
        {"2", "9", IPMICTL_GET_TIMING_PARMS_CMD, getFails},
        {"2", "9", IPMICTL_SET_TIMING_PARMS_CMD, setFails},
    };
    for (const auto& row : rows) {
        ASSERT_GT(IpmiIfcOpenIpmiOpen(0), 0); // driver defaults again
        setenv("CIM_IPMI_RETRIES", row.retries, 1);
        setenv("CIM_IPMI_RETRY_TIME", row.time, 1);
        if (row.failing != 0)
            sim.fail(row.failing, EIO);
        IpmiIfcSetTimingParms(0);
        EXPECT_EQ(sim.log().lines(), row.log);
        sim.log().clear();
    }
    EXPECT_EQ(sim.calls(IPMICTL_SET_TIMING_PARMS_CMD), 3);
}

TEST_F(Device, ownAddressAndEventDelivery)
{
    node.myAddress = 0; // nothing to set
    EXPECT_EQ(IpmiIfcOpenIpmiAddressSet(0), 0);
    EXPECT_EQ(sim.calls(IPMICTL_SET_MY_ADDRESS_CMD), 1);
    node.myAddress = 0x24;
    EXPECT_EQ(IpmiIfcOpenIpmiAddressSet(0), 0);
    unsigned int address = 0;
    EXPECT_EQ(ioctl(node.fd, IPMICTL_GET_MY_ADDRESS_CMD, &address), 0);
    EXPECT_EQ(address, 0x24U);
    int off = 0;
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), 0);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, nullptr), -1);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(7, &off), -1);
    sim.fail(IPMICTL_SET_GETS_EVENTS_CMD, EIO);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), -1);
    const Lines expected{
        {LOG_ERR, "Node 0: IpmiIfcOpenIpmiEventEnable failed ioctl call rc = 0xffffffff returning -1"}};
    EXPECT_EQ(sim.log().complaints(), expected);
}

TEST_F(Device, isInitialisedAndClosedAgainAndAgain)
{
    const int readEnd = node.signalCmdPipeFds[FD_READ], writeEnd = node.signalCmdPipeFds[FD_WRITE];
    EXPECT_EQ(fcntl(readEnd, F_GETFL) & O_NONBLOCK, 0); // its reader only may block
    EXPECT_NE(fcntl(writeEnd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(readEnd, F_GETFD) & FD_CLOEXEC, 0);
    init();
    EXPECT_TRUE(node.signalCmdPipeFds[FD_READ] == readEnd && node.signalCmdPipeFds[FD_WRITE] == writeEnd); // reused
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(node.myAddress, 0x20U);
    node.state = IpmiIfc::IPMI_STATE_RUNNING;
    EXPECT_THROW(IpmiIfcInitForCLI(0), CmpiStatus);
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_RUNNING);
    EXPECT_EQ(IpmiIfcCloseForCLI(0), 0);
    EXPECT_FALSE(isOpen(readEnd) || isOpen(writeEnd));
    EXPECT_EQ(node.state, IpmiIfc::IPMI_STATE_IDLE);
    Support::SimNode::setDescriptors(false);
    EXPECT_EQ(IpmiIfcInitForCLI(0), -1);
    Support::SimNode::setDescriptors(true);
}

} // namespace
