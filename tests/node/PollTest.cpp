// SPDX-License-Identifier: Apache-2.0
// A node's life: start, its polling loop's schedule and pollAll.
#include "node/LifeFixture.h"
#include "support/FailingFcntl.h"

#include <gmock/gmock.h>
#include <linux/ipmi.h>
#include <sys/ioctl.h>

#include <algorithm>
#include <numeric>
#include <span>

using namespace LifeTest;
using namespace std::chrono_literals;
using enum IpmiIfc::IPMI_POLL_TYPE;

namespace
{

// --- the schedule

/// What a cycle asked: nothing at all, the event log, readings too, the repository too.
enum Asked : char { kNothing = '-', kEventLog = '.', kReadings = 'R', kRepository = 'S' };

char askedIn(const Sim::Bmc::Counts& counts)
{
    const auto has = [&](std::uint8_t netfn, std::uint8_t cmd) { return counts.contains({netfn, cmd}); };
    if (has(0x0a, 0x20))
        return kRepository;
    if (has(0x04, 0x2d))
        return kReadings;
    return has(0x0a, 0x40) ? kEventLog : kNothing;
}

struct Schedule {
    const char* name;
    IpmiIfc::IPMI_POLL_TYPE type;
    int step;                      ///< SKIP_SDR_STEP
    std::vector<int> eventsBefore; ///< cycles
    char (*expected)(int cycle);
    int nullCalls;          ///< of a handler
    int ordinaryFrom = 501; ///< the cycle from which on the type is IPMI_POLL_NORMAL
};

char eighth(int cycle, int first, bool repository)
{
    return cycle % 8 != first % 8 || cycle < first ? kEventLog : repository ? kRepository : kReadings;
}

char afterEvents(int cycle)
{
    if (cycle == 3 || cycle == 100)
        return kRepository;
    return cycle < 100 ? eighth(cycle, 11, cycle == 11) : eighth(cycle, 108, cycle == 108 || cycle == 348);
}

const Schedule kSchedules[] = {
    {"ordinary", IPMI_POLL_NORMAL, 30, {}, [](int n) { return eighth(n, 7, n == 231 || n == 471); }, 62},
    {"step 0 is 1", IPMI_POLL_NORMAL, 0, {}, [](int n) { return eighth(n, 7, true); }, 62},
    {"full", IPMI_POLL_FULL, 30, {}, [](int) { return char(kRepository); }, 500},
    {"sensors", IPMI_POLL_SENSORS, 30, {}, [](int) { return char(kReadings); }, 0},
    {"event log", IPMI_POLL_SEL, 30, {}, [](int) { return char(kEventLog); }, 0},
    {"event log, then ordinary", IPMI_POLL_SEL, 1, {}, [](int n) { return eighth(n, 8, true); }, 62, 8},
    {"none", IPMI_POLL_NONE, 30, {}, [](int) { return char(kNothing); }, 0},
    {"new events", IPMI_POLL_NORMAL, 30, {3, 100}, afterEvents, 2 + 12 + 50},
    {"events, readings", IPMI_POLL_SENSORS, 30, {5}, [](int n) { return char(n == 5 ? kRepository : kReadings); }, 1},
};

TEST(Poll, keepsItsScheduleForFiveHundredCycles)
{
    constexpr int kCycles = 500;
    for (const Schedule& row : kSchedules) {
        SCOPED_TRACE(row.name);
        SKIP_SDR_STEP = row.step;
        Node node;
        std::atomic<int> nulls{0};
        std::string asked, expected;
        std::uint64_t lanQuestions = 0;
        const auto begin = node.sim.clock().steadyTime();
        node.live(kCycles + 1, [&](int wait) {
            if (wait == 1)
                IpmiIfc::registerSelEventHandler(countNulls, &nulls);
            else
                asked += askedIn(node.bmc.counts());
            lanQuestions += node.bmc.count(0x0c, 0x02);
            node.bmc.clearCounts();
            node.record.pollType = wait < row.ordinaryFrom ? row.type : IPMI_POLL_NORMAL;
            if (std::ranges::count(row.eventsBefore, wait) != 0)
                node.addEvent(0);
        });
        EXPECT_GE(node.sim.clock().steadyTime() - begin, kCycles * 16s);
        for (int n = 1; n <= kCycles; ++n)
            expected += row.expected(n);
        EXPECT_EQ(asked, expected);
        EXPECT_EQ(nulls, row.nullCalls);
        EXPECT_EQ(lanQuestions, 3u * (1 + static_cast<unsigned>(row.nullCalls))); // all are refused: three a refresh
        EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
    }
}

TEST(Poll, aSilentEventLogCostsTenTriesAndAClearedOneIsNotNew)
{
    Node node;
    for (int i = 0; i < 57; ++i)
        node.addEvent(0);
    std::string asked;
    node.live(4, [&](int wait) {
        if (wait > 1)
            asked += askedIn(node.bmc.counts());
        node.bmc.clearCounts();
        if (wait == 2)
            node.bmc.change([](Sim::Machine& machine) {
                machine.sel.resize(1);
                ++machine.selEraseTime;
            });
        if (wait == 3)
            node.bmc.setFaults(Sim::FaultPlan({{.netfn = 0x0a, .cmd = 0x40, .action = code(0xc1)}}));
    });
    EXPECT_EQ(asked, "...");
    EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "Retrying IpmiIfcSelGetInfo"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Could not get SEL info for node 0 after 10 tries"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "IpmiIfcSelGetInfo: IPMI_CMD_GET_SEL_INFO cc=0xc1"), 10);
}

TEST(Poll, nothingThatAHandlerThrowsEndsTheLoop)
{
    Node node;
    int calls = 0;
    std::atomic<int> calmCalls{0};
    const auto angry = [](void* argument, IpmiSelData* event) {
        if (int& count = *static_cast<int*>(argument); ++count % 2 == 0)
            throw CmpiStatus(CMPI_RC_ERR_FAILED);
        throw event;
    };
    node.live(5, [&](int wait) {
        if (wait == 1) {
            IpmiIfc::registerSelEventHandler(countNulls, &calmCalls);
            IpmiIfc::registerSelEventHandler(angry, &calls);
        }
        node.record.pollType = IPMI_POLL_FULL;
        if (wait == 3)
            node.addEvent(0);
    });
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Event handler ran into issues"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Event handler ran into issues: (null)(1)"), 2);
    EXPECT_EQ(node.sim.log().count(LOG_ERR, "IPMI polling thread caught exception while polling node 0"), 1);
    EXPECT_EQ(calmCalls, 3);
}

// --- start

TEST(Start, asksWhoIsThereAndThenForTheEventLogAndTheLan)
{
    Node node;
    setenv("CIM_IPMI_RETRIES", "3", 1);
    node.live(1, [](int) {});
    for (const unsigned long request :
         {IPMICTL_SET_TIMING_PARMS_CMD, IPMICTL_SET_GETS_EVENTS_CMD, IPMICTL_SET_MY_ADDRESS_CMD})
        EXPECT_EQ(node.sim.calls(static_cast<unsigned int>(request)), 1);
    std::vector<int> asked;
    for (const Sim::Request& request : node.bmc.log())
        if (request.cmd != 0x42 || request.netfn != 0x06) // asked for until the LAN channel is known
            asked.push_back(request.netfn << 8 | request.cmd);
    EXPECT_THAT(std::span(asked).first(5), testing::ElementsAre(0x601, 0x659, 0x659, 0x604, 0xa20)); // who is there
    const std::vector<int> next{0xa41, 0xa40, 0xa42, 0xc02}; // the event log, LAN
    EXPECT_NE(std::search(asked.begin(), asked.end(), next.begin(), next.end()), asked.end());
    EXPECT_EQ(asked.back(), 0xa10); // the inventory
    EXPECT_EQ(IpmiIfc::getSensors().size(), 1u);
    EXPECT_EQ(IpmiIfc::getPollingInterval(), 1);
    IpmiIfc::setPollingInterval(7);
    EXPECT_EQ(IpmiIfc::getPollingInterval(), 7);
}

TEST(Start, isRefusedInWordsAndLeavesTheNodeStopped)
{
    using Arrange = std::function<void(Node&)>;
    std::vector<std::tuple<Arrange, int, Support::LogLine>> rows{
        // what start throws, 0: nothing; what it says
        {[](Node&) { Support::SimNode::setRoot(false); }, 2, {LOG_ERR, "CmpiStatus error 2 Only root user allowed"}},
        {[](Node&) { Support::SimNode::setDescriptors(false); },
         100,
         {LOG_ERR, "CmpiStatus error 100 UnnamedPipe::UnnamedPipe: pipe failed"}},
        {[](Node& node) { node.sim.remove(); },
         0,
         {LOG_INFO, "Node 0: Unable to open node, Error(2):No such file or directory"}},
    };
    int nth = 0;
    for (const std::string call :
         {"FD_READ], F_GETFL, 0", "FD_READ], F_SETFL, fdflags", "FD_WRITE], F_GETFL, 0", "FD_WRITE], F_SETFL, fdflags"})
        rows.push_back({[n = ++nth](Node&) { Support::failFcntl(n); },
                        100,
                        {LOG_ERR, "CmpiStatus error 100 UnnamedPipe::UnnamedPipe: "
                                  "fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[" +
                                      call + ") failed"}});
    const auto descriptors = openDescriptors();
    for (const auto& [arrange, expected, line] : rows) {
        SCOPED_TRACE(line.text);
        Node node;
        for (int attempt = 1; attempt <= 2; ++attempt) {
            arrange(node);
            int rc = 0;
            try {
                IpmiIfc::start(1);
            } catch (const CmpiStatus& status) {
                rc = status.rc();
            }
            EXPECT_EQ(rc, expected);
            EXPECT_EQ(node.sim.log().count(line.priority, line.text), attempt);
            EXPECT_EQ(node.sim.log().count(LOG_INFO, "Node 0: IpmiIfc polling thread stopped."), attempt);
            EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
        }
        Support::SimNode::setRoot(true);
        Support::SimNode::setDescriptors(true);
        EXPECT_EQ(node.bmc.count(), 0u);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

// --- pollAll, from another thread

TEST(PollAll, doesOneFullCycleARoundWhereNodesAreFew)
{
    for (const bool serial : {true, false}) {
        SCOPED_TRACE(serial);
        RunningNodes running;
        SKIP_SDR_STEP = SKIP_FRU_STEP = 30;
        volatile bool shutdown = false;
        for (int round = 0; round < 7; ++round) {
            EXPECT_EQ(IpmiIfc::pollAll(kNodeCount, serial, IPMI_POLL_NORMAL, &shutdown), 0);
            EXPECT_LE(std::ranges::count(running.counted(), 1), round < 6 ? 0 : 1);
        }
        EXPECT_EQ(SKIP_SDR_STEP, serial ? 30 * kNodeCount : 30) << "multiplied by the process's first call alone";
        for (int node = 0; node < kNodeCount; ++node) { // the others' were put off: one after the other
            const auto cycles = running.counted();
            EXPECT_EQ(std::reduce(cycles.begin(), cycles.end()), node + 1);
            EXPECT_EQ(IpmiIfc::pollAll(kNodeCount, serial, IPMI_POLL_NORMAL, nullptr), 0);
        }
        EXPECT_EQ(IpmiIfc::pollAll(16, serial, IPMI_POLL_NONE, nullptr), 0);
        EXPECT_EQ(IpmiIfc::pollAll(16, serial, IPMI_POLL_FULL, nullptr), 0);
    }
    RunningNodes running;
    for (int round = 0; round < 7; ++round)
        IpmiIfc::pollAll(2 * 8, true, IPMI_POLL_NORMAL, nullptr);
    EXPECT_EQ(std::ranges::count(running.counted(), 1), 3) << "one, and another for each eight nodes";
}

TEST(PollAll, waitsForANodeThatHasNotBegunUntilTheShutdown)
{
    Node node;
    node.record.pollCount = 0;
    volatile bool shutdown = false;
    int sleeps = 0;
    node.sim.clock().onSleep([&] { shutdown = ++sleeps == 500; });
    EXPECT_EQ(IpmiIfc::pollAll(1, true, IPMI_POLL_NORMAL, &shutdown), -1);
    const Support::LogCapture& log = node.sim.log();
    EXPECT_TRUE(log.has(LOG_INFO, "Shutdown signal received. Returning from IpmiIfc::pollAll()"));
    EXPECT_TRUE(log.has(LOG_INFO, "Waiting for poll thread for node 0 to start..."));
    EXPECT_EQ(log.count(LOG_DEBUG, "Waiting for poll thread for node 0 to start..."), 498);
    EXPECT_TRUE(log.has(LOG_WARNING, "Still waiting for poll thread for node 0 to start (500 tries)..."));
}

} // namespace
