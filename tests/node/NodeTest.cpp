// SPDX-License-Identifier: Apache-2.0
// Opening, closing and setting up a node's device; a node's use without a polling loop; its state machine.
#include "ipmi/CmpiStatus.h"
#include "node/NodeFixture.h"
#include "transport/SignalPipe.h"

#include <fcntl.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>

#include <climits>
#include <cstdlib>
#include <thread>

using namespace Ipmi;
using State = IpmiIfc::IPMI_STATE;
using enum IpmiIfc::IPMI_STATE;

namespace
{

using Device = NodeFixture;
using NodeState = NodeFixture;

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
    EXPECT_TRUE(!isOpen(last) && node.fd == -1 && node.deviceOpen == 0);
    sim.remove();
    EXPECT_TRUE(IpmiIfcOpenIpmiOpen(0) == -1 && errno == ENOENT);

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
    EXPECT_TRUE(ioctl(node.fd, IPMICTL_GET_MY_ADDRESS_CMD, &address) == 0 && address == 0x24);
    int off = 0;
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), 0);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, nullptr), -1);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(7, &off), -1);
    sim.fail(IPMICTL_SET_GETS_EVENTS_CMD, EIO);
    EXPECT_EQ(IpmiIfcOpenIpmiEventEnable(0, &off), -1);
    EXPECT_TRUE(
        sim.log().has(LOG_ERR, "Node 0: IpmiIfcOpenIpmiEventEnable failed ioctl call rc = 0xffffffff returning -1"));
}

TEST_F(Device, isInitialisedAndClosedAgainAndAgain)
{
    const int readEnd = node.signalCmdPipeFds[FD_READ], writeEnd = node.signalCmdPipeFds[FD_WRITE];
    EXPECT_EQ(fcntl(readEnd, F_GETFL) & O_NONBLOCK, 0); // its reader only may block
    EXPECT_NE(fcntl(writeEnd, F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(readEnd, F_GETFD) & FD_CLOEXEC, 0);
    init();
    EXPECT_TRUE(node.signalCmdPipeFds[FD_READ] == readEnd && node.signalCmdPipeFds[FD_WRITE] == writeEnd); // reused
    EXPECT_TRUE(node.state == IPMI_STATE_CLI && node.myAddress == 0x20);
    node.state = IPMI_STATE_RUNNING;
    EXPECT_THROW(IpmiIfcInitForCLI(0), CmpiStatus);
    EXPECT_EQ(IpmiIfcCloseForCLI(0), 0);
    EXPECT_FALSE(isOpen(readEnd) || isOpen(writeEnd));
    EXPECT_EQ(node.state, IPMI_STATE_IDLE);
    Support::SimNode::setDescriptors(false);
    EXPECT_EQ(IpmiIfcInitForCLI(0), -1);
    Support::SimNode::setDescriptors(true);
}

// --- the state machine

constexpr State kStates[] = {IPMI_STATE_NONE,    IPMI_STATE_IDLE,    IPMI_STATE_STARTING,
                             IPMI_STATE_RUNNING, IPMI_STATE_STOPPED, IPMI_STATE_CLI};

TEST_F(NodeState, changesOnlyFromTheStateNamed)
{
    for (const State current : kStates)
        for (const State from : kStates) {
            sim.log().clear();
            _setState(0, current);
            Lines refusal;
            if (from == current) {
                _changeState(0, from, IPMI_STATE_STOPPED);
            } else {
                EXPECT_THROW(_changeState(0, from, IPMI_STATE_STOPPED), CmpiStatus);
                refusal = {{LOG_ERR, "IpmiIfc unexpected state transition: (" + std::to_string(from) +
                                         "->8), Current state " + std::to_string(current)},
                           {LOG_ERR, "CmpiStatus error 200 IpmiIfc unexpected state transition"}};
            }
            EXPECT_EQ(sim.log().complaints(), refusal);
            EXPECT_EQ(IpmiIfc::getState(0), from == current ? IPMI_STATE_STOPPED : current);
        }
}

TEST_F(NodeState, decidesWhetherTheNodeCanBeInitialised)
{
    const int device = node.fd;
    for (const State state : kStates) {
        const bool refused = state == IPMI_STATE_STARTING || state == IPMI_STATE_RUNNING;
        node.state = state;
        node.nextMsgId = 7;
        node.pollingInterval = 5;
        if (refused)
            EXPECT_THROW(InitIpmiNode(0), CmpiStatus) << state;
        else
            InitIpmiNode(0);
        EXPECT_EQ(node.state, refused ? state : IPMI_STATE_IDLE);
        EXPECT_EQ(node.nextMsgId, refused ? 7 : 1445);
        EXPECT_EQ(node.pollingInterval, refused ? 5 : -1);
        EXPECT_EQ(node.fd, device);
    }
}

TEST_F(NodeState, wakesWhoeverWaitsForIt)
{
    node.state = IPMI_STATE_IDLE;
    constexpr int mask = IPMI_STATE_RUNNING | IPMI_STATE_STOPPED;
    std::thread plain([] { EXPECT_EQ(IpmiIfc::waitState(0, mask), IPMI_STATE_RUNNING); });
    std::thread timed([] { EXPECT_EQ(IpmiIfc::timedWaitState(0, mask, 3600, 0), IPMI_STATE_RUNNING); });
    _changeState(0, IPMI_STATE_IDLE, IPMI_STATE_STARTING);
    _changeState(0, IPMI_STATE_STARTING, IPMI_STATE_RUNNING);
    plain.join();
    timed.join();
    for (const char* text :
         {"IPMI Node 0: _changeState (1, 2)  called...", "IPMI Node 0: _changeState have lock",
          "IPMI Node 0: _changeState check passed", "_changeState notifying...", "IPMI Node 0: _changeState done",
          "Node 0: IpmiIfc::waitState (12) called...", "Node 0: IpmiIfc::timedWaitState (12, 3600, 0) called ..."})
        EXPECT_TRUE(sim.log().has(LOG_DEBUG, text)) << text;
}

TEST_F(NodeState, isWaitedForAgainAfterATimeOut)
{
    using Row = std::tuple<long, long, std::chrono::milliseconds>; // seconds, microseconds, one wait
    for (const auto& [seconds, microseconds, wait] : {Row{2, 500'000, 2'500}, Row{LONG_MIN, LONG_MIN, 1}}) {
        node.state = IPMI_STATE_IDLE;
        int rounds = 0;
        sim.clock().onWait([&] { node.state = ++rounds == 3 ? IPMI_STATE_RUNNING : IPMI_STATE_IDLE; });
        const auto before = sim.clock().steadyTime();
        EXPECT_EQ(IpmiIfc::timedWaitState(0, IPMI_STATE_RUNNING, seconds, microseconds), IPMI_STATE_RUNNING);
        EXPECT_EQ(sim.clock().steadyTime() - before, 3 * wait) << seconds << ' ' << microseconds;
    }
}

} // namespace
