// SPDX-License-Identifier: Apache-2.0
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
using enum IpmiIfc::IPMI_STATE;

namespace
{

constexpr int kNode = 2;
IpmiNode& node = g_IpmiNode[kNode];
constexpr State kStates[] = {IPMI_STATE_NONE,    IPMI_STATE_IDLE,    IPMI_STATE_STARTING,
                             IPMI_STATE_RUNNING, IPMI_STATE_STOPPED, IPMI_STATE_CLI};

TEST(NodeState, changesOnlyFromTheStateNamed)
{
    for (const State current : kStates)
        for (const State from : kStates) {
            const std::string change = "(" + std::to_string(from) + "->8), Current state " + std::to_string(current);
            Support::LogCapture log;
            _setState(kNode, current);
            std::vector<Support::LogLine> refusal;
            if (from == current) {
                _changeState(kNode, from, IPMI_STATE_STOPPED);
            } else {
                EXPECT_THROW(_changeState(kNode, from, IPMI_STATE_STOPPED), CmpiStatus);
                refusal = {{LOG_ERR, "IpmiIfc unexpected state transition: " + change},
                           {LOG_ERR, "CmpiStatus error 200 IpmiIfc unexpected state transition"}};
            }
            EXPECT_EQ(log.complaints(), refusal);
            EXPECT_EQ(IpmiIfc::getState(kNode), from == current ? IPMI_STATE_STOPPED : current);
        }
}

TEST(NodeState, decidesWhetherTheNodeCanBeInitialised)
{
    Support::LogCapture log;
    for (const State state : kStates) {
        const bool refused = state == IPMI_STATE_STARTING || state == IPMI_STATE_RUNNING;
        node.state = state;
        node.nextMsgId = 7;
        node.pollingInterval = 5;
        node.fd = 1234;
        if (refused)
            EXPECT_THROW(InitIpmiNode(kNode), CmpiStatus) << state;
        else
            InitIpmiNode(kNode);
        EXPECT_EQ(node.state, refused ? state : IPMI_STATE_IDLE);
        EXPECT_EQ(node.nextMsgId, refused ? 7 : 1445);
        EXPECT_EQ(node.pollingInterval, refused ? 5 : -1);
        EXPECT_EQ(node.fd.exchange(-1), 1234) << "the device stays as it is";
    }
}

TEST(NodeState, wakesWhoeverWaitsForIt)
{
    Support::LogCapture log;
    node.state = IPMI_STATE_IDLE;
    constexpr int mask = IPMI_STATE_RUNNING | IPMI_STATE_STOPPED;
    std::thread plain([] { EXPECT_EQ(IpmiIfc::waitState(kNode, mask), IPMI_STATE_RUNNING); });
    std::thread timed([] { EXPECT_EQ(IpmiIfc::timedWaitState(kNode, mask, 3600, 0), IPMI_STATE_RUNNING); });
    _changeState(kNode, IPMI_STATE_IDLE, IPMI_STATE_STARTING);
    _changeState(kNode, IPMI_STATE_STARTING, IPMI_STATE_RUNNING);
    plain.join();
    timed.join();
    for (const char* text :
         {"IPMI Node 2: _changeState (1, 2)  called...", "IPMI Node 2: _changeState have lock",
          "IPMI Node 2: _changeState check passed", "_changeState notifying...", "IPMI Node 2: _changeState done",
          "Node 2: IpmiIfc::waitState (12) called...", "Node 2: IpmiIfc::timedWaitState (12, 3600, 0) called ..."})
        EXPECT_TRUE(log.has(LOG_DEBUG, text)) << text;
}

TEST(NodeState, isWaitedForAgainAfterATimeOut)
{
    Support::LogCapture log;
    using Row = std::tuple<long, long, std::chrono::milliseconds>; // seconds, microseconds, one wait
    for (const auto& [seconds, microseconds, wait] : {Row{2, 500'000, 2'500}, Row{LONG_MIN, LONG_MIN, 1}}) {
        Support::FakeClock clock;
        node.state = IPMI_STATE_IDLE;
        int rounds = 0;
        clock.onWait([&] {
            node.state = ++rounds == 3 ? IPMI_STATE_RUNNING : IPMI_STATE_IDLE;
        }); // as this thread holds the lock
        const auto before = clock.steadyTime();
        EXPECT_EQ(IpmiIfc::timedWaitState(kNode, IPMI_STATE_RUNNING, seconds, microseconds), IPMI_STATE_RUNNING);
        EXPECT_EQ(clock.steadyTime() - before, 3 * wait) << seconds << ' ' << microseconds;
    }
}

} // namespace
