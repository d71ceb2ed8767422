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
constexpr State kNone = IpmiIfc::IPMI_STATE_NONE, kIdle = IpmiIfc::IPMI_STATE_IDLE,
                kStarting = IpmiIfc::IPMI_STATE_STARTING, kRunning = IpmiIfc::IPMI_STATE_RUNNING,
                kStopped = IpmiIfc::IPMI_STATE_STOPPED, kCli = IpmiIfc::IPMI_STATE_CLI;

struct NodeState : testing::TestWithParam<State> {
    Support::LogCapture log;
};
INSTANTIATE_TEST_SUITE_P(From, NodeState, testing::Values(kNone, kIdle, kStarting, kRunning, kStopped, kCli));

TEST_P(NodeState, changesOnlyFromTheStateNamed)
{
    for (const State from : {kNone, kIdle, kStarting, kRunning, kStopped, kCli}) {
        node.state = GetParam();
        const bool allowed = from == GetParam();
        const std::string name = std::to_string(from), current = std::to_string(GetParam());
        std::vector<Support::LogLine> expected{
            {LOG_DEBUG, "IPMI Node 2: _changeState (" + name + ", 8)  called..."},
            {LOG_DEBUG, "IPMI Node 2: _changeState have lock"},
            {LOG_ERR, "IpmiIfc unexpected state transition: (" + name + "->8), Current state " + current},
            {LOG_ERR, "CmpiStatus error 200 IpmiIfc unexpected state transition"}};
        if (allowed) {
            expected.resize(2);
            expected.push_back({LOG_DEBUG, "IPMI Node 2: _changeState check passed"});
            expected.push_back({LOG_DEBUG, "_changeState notifying..."});
            expected.push_back({LOG_DEBUG, "IPMI Node 2: _changeState done"});
            _changeState(kNode, from, kStopped);
        } else {
            EXPECT_THROW(_changeState(kNode, from, kStopped), CmpiStatus);
        }
        EXPECT_EQ(log.lines(), expected);
        EXPECT_EQ(_getState(kNode), allowed ? kStopped : GetParam());
        log.clear();
    }
    _setState(kNode, kIdle);
    EXPECT_EQ(log.lines(), (std::vector<Support::LogLine>{{LOG_DEBUG, "IPMI Node 2: _setState (1) called..."}}));
    EXPECT_EQ(IpmiIfc::getState(kNode), kIdle);
}

TEST_P(NodeState, allButStartingAndRunningNodesCanBeInitialised)
{
    node.state = GetParam();
    node.nextMsgId = 7;
    node.pollingInterval = 5;
    node.fd = 1234;
    const bool refused = GetParam() == kStarting || GetParam() == kRunning;
    if (refused)
        EXPECT_THROW(InitIpmiNode(kNode), CmpiStatus);
    else
        InitIpmiNode(kNode);
    EXPECT_EQ(node.state, refused ? GetParam() : kIdle);
    EXPECT_EQ(node.nextMsgId, refused ? 7 : 1445);
    EXPECT_EQ(node.pollingInterval, refused ? 5 : -1);
    EXPECT_EQ(node.fd, 1234) << "the device stays as it is";
    node.fd = -1;
}

TEST(NodeStateWaits, wakeForAnyStateOfTheirMask)
{
    Support::LogCapture log;
    node.state = kIdle;
    constexpr int mask = kRunning | kStopped;
    std::thread plain([] { EXPECT_EQ(IpmiIfc::waitState(kNode, mask), kRunning); });
    std::thread timed([] { EXPECT_EQ(IpmiIfc::timedWaitState(kNode, mask, 3600, 0), kRunning); });
    _changeState(kNode, kIdle, kStarting);
    _changeState(kNode, kStarting, kRunning);
    plain.join();
    timed.join();
    EXPECT_TRUE(log.has(LOG_DEBUG, "Node 2: IpmiIfc::waitState (12) called..."));
    EXPECT_TRUE(log.has(LOG_DEBUG, "Node 2: IpmiIfc::timedWaitState (12, 3600, 0) called ..."));
}

TEST(NodeStateWaits, areOnlyRearmedByTheirTimeOut)
{
    struct Row {
        long seconds, microseconds;
        std::chrono::microseconds::rep wait; ///< of each round
    };
    constexpr auto longest = 100LL * 365 * 86'400 * 1'000'000;
    const Row rows[] = {{2, 500'000, 2'500'000}, {0, 5'000'000'000, 5'000'000'000}, {0, 0, 1'000},
                        {-5, 0, 1'000},          {LONG_MIN, LONG_MIN, 1'000},       {LONG_MAX, LONG_MAX, longest}};
    for (const Row& row : rows) {
        Support::LogCapture log;
        Support::FakeClock clock;
        node.state = kIdle;
        int rounds = 0;
        clock.onWait([&] { node.state = ++rounds == 3 ? kRunning : kIdle; }); // as this thread holds the lock
        const auto before = clock.wallTime();
        EXPECT_EQ(IpmiIfc::timedWaitState(kNode, kRunning, row.seconds, row.microseconds), kRunning);
        EXPECT_EQ((clock.wallTime() - before).count(), 3 * row.wait) << row.seconds << ' ' << row.microseconds;
    }
}

} // namespace
