// The node record and its state machine.
#include "base/Log.h"
#include "ipmi/CmpiStatus.h"
#include "node/IpmiNode.h"
#include "support/FakeClock.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

using namespace Ipmi;
using State = IpmiIfc::IPMI_STATE;

namespace
{

constexpr int kNode = 2;
IpmiNode& node = g_IpmiNode[kNode];
constexpr State kStates[] = {IpmiIfc::IPMI_STATE_NONE,    IpmiIfc::IPMI_STATE_IDLE,    IpmiIfc::IPMI_STATE_STARTING,
                             IpmiIfc::IPMI_STATE_RUNNING, IpmiIfc::IPMI_STATE_STOPPED, IpmiIfc::IPMI_STATE_CLI};

TEST(NodeState, changesOnlyFromTheStateNamed)
{
    for (const State current : kStates) {
        for (const State from : kStates) {
            Support::LogCapture log;
            node.state = current;
            const std::string call = std::to_string(from) + ", 8";
            std::vector<Support::LogLine> expected{{LOG_DEBUG, "IPMI Node 2: _changeState (" + call + ")  called..."},
                                                   {LOG_DEBUG, "IPMI Node 2: _changeState have lock"}};
            if (current == from) {
                _changeState(kNode, from, IpmiIfc::IPMI_STATE_STOPPED);
                expected.insert(expected.end(), {{LOG_DEBUG, "IPMI Node 2: _changeState check passed"},
                                                 {LOG_DEBUG, "_changeState notifying..."},
                                                 {LOG_DEBUG, "IPMI Node 2: _changeState done"}});
            } else {
                EXPECT_THROW(_changeState(kNode, from, IpmiIfc::IPMI_STATE_STOPPED), CmpiStatus);
                expected.insert(expected.end(),
                                {{LOG_ERR, "IpmiIfc unexpected state transition: (" + std::to_string(from) +
                                               "->8), Current state " + std::to_string(current)},
                                 {LOG_ERR, "CmpiStatus error 200 IpmiIfc unexpected state transition"}});
            }
            EXPECT_EQ(log.lines(), expected);
            EXPECT_EQ(_getState(kNode), current == from ? IpmiIfc::IPMI_STATE_STOPPED : current);
        }
    }
    Support::LogCapture log;
    _setState(kNode, IpmiIfc::IPMI_STATE_IDLE);
    EXPECT_EQ(log.lines(), (std::vector<Support::LogLine>{{LOG_DEBUG, "IPMI Node 2: _setState (1) called..."}}));
    EXPECT_EQ(IpmiIfc::getState(kNode), IpmiIfc::IPMI_STATE_IDLE);
}

TEST(NodeState, initialisesAllButStartingAndRunningNodes)
{
    for (const State current : kStates) {
        Support::LogCapture log;
        node.state = current;
        node.nextMsgId = 7;
        node.shutdown = true;
        node.fd = 1234;
        node.myAddress = 0x30;
        node.pollingInterval = 5;
        const bool refused = current == IpmiIfc::IPMI_STATE_STARTING || current == IpmiIfc::IPMI_STATE_RUNNING;
        {
            TRX::MutexLock hold(node.bmcInfoLock);
            node.identity.osName = "name";
            node.identity.deviceIdLength = 3;
        }
        if (refused) {
            try {
                InitIpmiNode(kNode);
                ADD_FAILURE() << current;
            } catch (const CmpiStatus& status) {
                EXPECT_EQ(status.rc(), CMPI_RC_ERROR);
            }
            const std::string state = std::to_string(current);
            EXPECT_TRUE(
                log.has(LOG_ERR, "IpmiIfc unexpected state transition: (" + state + "->1), Current state " + state));
        } else {
            InitIpmiNode(kNode);
            EXPECT_EQ(node.signalCmdPipeFds[FD_READ], -1);
            EXPECT_EQ(node.signalCmdPipeFds[FD_WRITE], -1);
        }
        EXPECT_EQ(node.state, refused ? current : IpmiIfc::IPMI_STATE_IDLE);
        EXPECT_EQ(node.nextMsgId, refused ? 7 : 1445);
        EXPECT_EQ(node.pollingInterval, refused ? 5 : -1);
        {
            TRX::MutexLock hold(node.bmcInfoLock);
            EXPECT_EQ(node.identity.osName.has_value(), refused);
            EXPECT_EQ(node.identity.deviceIdLength, refused ? 3U : 0U);
        }
        EXPECT_TRUE(node.shutdown);
        EXPECT_EQ(node.fd, 1234);
        EXPECT_EQ(node.myAddress, 0x30U);
    }
    node.fd = -1;
    node.shutdown = false;
}

TEST(NodeState, waitersWakeForAnyStateOfTheirMask)
{
    Support::LogCapture log;
    node.state = IpmiIfc::IPMI_STATE_IDLE;
    constexpr int mask = IpmiIfc::IPMI_STATE_RUNNING | IpmiIfc::IPMI_STATE_STOPPED;
    std::atomic<int> plain{0}, timed{0};
    std::thread one([&] { plain = IpmiIfc::waitState(kNode, mask); });
    std::thread other([&] { timed = IpmiIfc::timedWaitState(kNode, mask, 3600, 0); });
    _changeState(kNode, IpmiIfc::IPMI_STATE_IDLE, IpmiIfc::IPMI_STATE_STARTING);
    _changeState(kNode, IpmiIfc::IPMI_STATE_STARTING, IpmiIfc::IPMI_STATE_RUNNING);
    one.join();
    other.join();
    EXPECT_EQ(plain, IpmiIfc::IPMI_STATE_RUNNING);
    EXPECT_EQ(timed, IpmiIfc::IPMI_STATE_RUNNING);
    EXPECT_TRUE(log.has(LOG_DEBUG, "Node 2: IpmiIfc::waitState (12) called..."));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Node 2: IpmiIfc::timedWaitState (12, 3600, 0) called ..."));
}

TEST(NodeState, timeOutsOnlyRearmTheWait)
{
    using namespace std::chrono;
    struct Row {
        long seconds, microseconds;
        microseconds::rep wait; ///< of each round
    };
    constexpr microseconds::rep longest = 100LL * 365 * 86'400 * 1'000'000;
    const Row rows[] = {
        {2, 500'000, 2'500'000}, {0, 5'000'000'000, 5'000'000'000}, {0, 0, 1'000},
        {-5, 0, 1'000},          {LONG_MIN, LONG_MIN, 1'000},       {LONG_MAX, LONG_MAX, longest},
    };
    for (const Row& row : rows) {
        Support::LogCapture log;
        Support::FakeClock clock;
        node.state = IpmiIfc::IPMI_STATE_IDLE;
        int rounds = 0;
        clock.onWait([&] {
            if (++rounds == 3)
                node.state = IpmiIfc::IPMI_STATE_RUNNING; // as this thread holds the lock
        });
        const auto before = clock.wallTime();
        EXPECT_EQ(IpmiIfc::timedWaitState(kNode, IpmiIfc::IPMI_STATE_RUNNING, row.seconds, row.microseconds),
                  IpmiIfc::IPMI_STATE_RUNNING);
        EXPECT_EQ(rounds, 3);
        EXPECT_EQ((clock.wallTime() - before).count(), 3 * row.wait) << row.seconds << ' ' << row.microseconds;
    }
}

TEST(NodeState, otherNodeNumbersAreSafe)
{
    Support::LogCapture log;
    for (const int bad : {-1, kNodeCount, INT_MAX, INT_MIN}) {
        InitIpmiNode(bad);
        _setState(bad, IpmiIfc::IPMI_STATE_RUNNING);
        EXPECT_NO_THROW(_changeState(bad, IpmiIfc::IPMI_STATE_IDLE, IpmiIfc::IPMI_STATE_RUNNING));
        EXPECT_EQ(IpmiIfc::getState(bad), 0);
        EXPECT_EQ(IpmiIfc::waitState(bad, 0), 0);
        EXPECT_EQ(IpmiIfc::timedWaitState(bad, 0, 1, 0), 0);
    }
    EXPECT_TRUE(log.lines().empty());
}

} // namespace
