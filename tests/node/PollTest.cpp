// A node's life: start, its polling loop's schedule, pollAll and stop.
#include "node/LifeFixture.h"
#include "support/FailingFcntl.h"

#include <fcntl.h>
#include <sys/resource.h>

#include <algorithm>
#include <span>

using namespace LifeTest;
using namespace std::chrono_literals;

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
    int nullCalls; ///< of a handler
};

void PrintTo(const Schedule& schedule, std::ostream* out)
{
    *out << schedule.name;
}

char eighth(int cycle, int first, bool repository)
{
    if (cycle % 8 != first % 8 || cycle < first)
        return kEventLog;
    return repository ? kRepository : kReadings;
}

const Schedule kSchedules[] = {
    {"ordinary", IpmiIfc::IPMI_POLL_NORMAL, 30, {}, [](int n) { return eighth(n, 7, n == 231 || n == 471); }, 62},
    {"each fourth", IpmiIfc::IPMI_POLL_NORMAL, 4, {}, [](int n) { return eighth(n, 7, (n + 1) / 8 % 4 == 3); }, 62},
    {"step 0 is 1", IpmiIfc::IPMI_POLL_NORMAL, 0, {}, [](int n) { return eighth(n, 7, true); }, 62},
    {"full", IpmiIfc::IPMI_POLL_FULL, 30, {}, [](int) { return char(kRepository); }, 500},
    {"sensors", IpmiIfc::IPMI_POLL_SENSORS, 30, {}, [](int) { return char(kReadings); }, 0},
    {"event log", IpmiIfc::IPMI_POLL_SEL, 30, {}, [](int) { return char(kEventLog); }, 0},
    {"none", IpmiIfc::IPMI_POLL_NONE, 30, {}, [](int) { return char(kNothing); }, 0},
    {"new events",
     IpmiIfc::IPMI_POLL_NORMAL,
     30,
     {3, 100},
     [](int n) {
         if (n == 3 || n == 100)
             return char(kRepository);
         return n < 100 ? eighth(n, 11, n == 11) : eighth(n, 108, n == 108 || n == 348);
     },
     2 + 12 + 50},
    {"new events of a cycle for readings",
     IpmiIfc::IPMI_POLL_SENSORS,
     30,
     {5},
     [](int n) { return char(n == 5 ? kRepository : kReadings); },
     1},
};

struct PollSchedule : testing::TestWithParam<Schedule> {
};

TEST_P(PollSchedule, isKeptForFiveHundredCycles)
{
    constexpr int kCycles = 500;
    const Schedule& row = GetParam();
    SKIP_SDR_STEP = row.step;
    Node node;
    int cycle = 0, nulls = 0;
    std::string asked, expected;
    node.sim.clock().onWait([&] {
        if (cycle++ > 0)
            asked += askedIn(node.bmc.counts());
        else
            IpmiIfc::registerSelEventHandler(
                [](void* calls, IpmiSelData* event) { *static_cast<int*>(calls) += !event; }, &nulls);
        node.bmc.clearCounts();
        node.record.pollType = row.type;
        node.record.shutdown = cycle > kCycles;
        if (std::ranges::count(row.eventsBefore, cycle) != 0)
            node.bmc.change([](Sim::Machine& machine) {
                const std::uint8_t id = static_cast<std::uint8_t>(machine.sel.size() + 1);
                machine.sel.push_back({id, 0, 2, 0, 0, 0, 0x61, 0x20, 0, 4, 1, 1, 1, 0x57});
                ++machine.selAddTime;
            });
    });
    const auto begin = node.sim.clock().steadyTime();
    IpmiIfc::start(1);
    EXPECT_GE(node.sim.clock().steadyTime() - begin, kCycles * 16s);
    for (int n = 1; n <= kCycles; ++n)
        expected += row.expected(n);
    EXPECT_EQ(asked, expected);
    EXPECT_EQ(nulls, row.nullCalls);
    EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
}

INSTANTIATE_TEST_SUITE_P(, PollSchedule, testing::ValuesIn(kSchedules), [](const auto& info) {
    std::string name = info.param.name;
    std::ranges::replace(name, ' ', '_');
    return name;
});

TEST(Poll, aSilentEventLogCostsTenTriesAndAClearedOneIsNotNew)
{
    Node node(oneSensor(57));
    int cycle = 0;
    std::string asked;
    node.sim.clock().onWait([&] {
        asked += cycle > 0 ? std::string(1, askedIn(node.bmc.counts())) : "";
        node.bmc.clearCounts();
        if (++cycle == 2)
            node.bmc.change([](Sim::Machine& machine) {
                machine.sel.resize(1);
                ++machine.selEraseTime;
            });
        node.bmc.setFaults(cycle == 3 ? Sim::FaultPlan({{.netfn = 0x0a, .cmd = 0x40, .action = code(0xc1)}})
                                      : Sim::FaultPlan());
        node.record.shutdown = cycle > 3;
    });
    IpmiIfc::start(0, 1);
    EXPECT_EQ(asked, "...");
    EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "Retrying IpmiIfcSelGetInfo"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Could not get SEL info for node 0 after 10 tries"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "IpmiIfcSelGetInfo: IPMI_CMD_GET_SEL_INFO cc=0xc1"), 10);
}

TEST(Poll, nothingThatAHandlerThrowsEndsTheLoop)
{
    Node node;
    int cycle = 0, calls = 0;
    const auto angry = [](void* argument, IpmiSelData* event) {
        if (int& count = *static_cast<int*>(argument); ++count % 2 == 0)
            throw CmpiStatus(CMPI_RC_ERR_FAILED);
        throw event;
    };
    const auto calm = [](void* argument, IpmiSelData*) { ++*static_cast<int*>(argument); };
    int calmCalls = 0;
    node.sim.clock().onWait([&] {
        if (cycle == 0) {
            IpmiIfc::registerSelEventHandler(calm, &calmCalls);
            IpmiIfc::registerSelEventHandler(angry, &calls);
        }
        node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
        if (++cycle == 3)
            node.bmc.change([](Sim::Machine& machine) {
                machine.sel.push_back({1, 0, 2, 0, 0, 0, 0x61, 0x20, 0, 4, 1, 1, 1, 0x57});
                machine.selAddTime = 0x61000000;
            });
        node.record.shutdown = cycle > 4;
    });
    IpmiIfc::start(1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Event handler ran into issues"), 1);
    EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Event handler ran into issues: (null)(1)"), 2);
    EXPECT_EQ(node.sim.log().count(LOG_ERR, "IPMI polling thread caught exception while polling node 0"), 1);
    EXPECT_EQ(calmCalls, 3);
}

// --- start

TEST(Start, asksWhoIsThereAndThenForTheEventLog)
{
    Node node;
    node.sim.clock().onWait([&] { node.record.shutdown = true; });
    IpmiIfc::start(1);
    std::vector<int> asked;
    for (const Sim::Request& request : node.bmc.log())
        asked.push_back(request.netfn << 8 | request.cmd);
    const std::vector<int> identity{0x601, 0x659, 0x659, 0x604, 0xa20}, log{0xa41, 0xa40, 0xa42};
    EXPECT_TRUE(std::ranges::equal(identity, std::span(asked).first(5)));
    EXPECT_TRUE(std::ranges::equal(log, std::span(asked).last(3)));
    EXPECT_EQ(IpmiIfc::getSensors().size(), 1u);
    EXPECT_EQ(IpmiIfc::getPollingInterval(), 1);
    IpmiIfc::setPollingInterval(7);
    EXPECT_EQ(IpmiIfc::getPollingInterval(), 7);
}

struct Refusal {
    const char* name;
    void (*arrange)(Node& node);
    int rc; ///< 0: start returns
    Support::LogLine line;
};

void leaveNoDescriptors(Node&)
{
    rlimit none{0, 0};
    getrlimit(RLIMIT_NOFILE, &none);
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
}

void restore()
{
    Support::SimNode::setRoot(true);
    Support::failFcntl(-1);
    rlimit all{};
    getrlimit(RLIMIT_NOFILE, &all);
    all.rlim_cur = all.rlim_max;
    setrlimit(RLIMIT_NOFILE, &all);
}

template <int command, int accessMode> void failFcntl(Node&)
{
    Support::failFcntl(command, accessMode);
}

Support::LogLine fcntlLine(const std::string& end, const std::string& command)
{
    return {LOG_ERR, "CmpiStatus error 100 UnnamedPipe::UnnamedPipe: fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[" +
                         end + "], " + command + ") failed"};
}

const Refusal kRefusals[] = {
    {"not root",
     [](Node&) { Support::SimNode::setRoot(false); },
     2,
     {LOG_ERR, "CmpiStatus error 2 Only root user allowed"}},
    {"no pipe", leaveNoDescriptors, 100, {LOG_ERR, "CmpiStatus error 100 UnnamedPipe::UnnamedPipe: pipe failed"}},
    {"read end, get", failFcntl<F_GETFL, O_RDONLY>, 100, fcntlLine("FD_READ", "F_GETFL, 0")},
    {"read end, set", failFcntl<F_SETFL, O_RDONLY>, 100, fcntlLine("FD_READ", "F_SETFL, fdflags")},
    {"write end, get", failFcntl<F_GETFL, O_WRONLY>, 100, fcntlLine("FD_WRITE", "F_GETFL, 0")},
    {"write end, set", failFcntl<F_SETFL, O_WRONLY>, 100, fcntlLine("FD_WRITE", "F_SETFL, fdflags")},
    {"no device",
     [](Node& node) { node.sim.remove(); },
     0,
     {LOG_INFO, "Node 0: Unable to open node, Error(2):No such file or directory"}},
};

TEST(Start, isRefusedInWordsAndLeavesTheNodeStopped)
{
    const auto descriptors = openDescriptors();
    for (const Refusal& row : kRefusals) {
        SCOPED_TRACE(row.name);
        Node node;
        row.arrange(node);
        for (int attempt = 1; attempt <= 2; ++attempt) {
            int rc = 0;
            try {
                IpmiIfc::start(1);
            } catch (const CmpiStatus& status) {
                rc = status.rc();
            }
            EXPECT_EQ(rc, row.rc);
            EXPECT_EQ(node.sim.log().count(row.line.priority, row.line.text), attempt);
            EXPECT_EQ(node.sim.log().count(LOG_INFO, "Node 0: IpmiIfc polling thread stopped."), attempt);
            EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
        }
        restore();
        EXPECT_EQ(node.bmc.count(), 0u);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

// --- stop and pollAll, from other threads

TEST(PollAll, doesOneFullCycleARoundWhereNodesAreFew)
{
    for (const bool serial : {true, false}) {
        SCOPED_TRACE(serial);
        RunningNodes running;
        SKIP_SDR_STEP = SKIP_FRU_STEP = 30;
        volatile bool shutdown = false;
        std::vector<int> before = running.counted();
        for (int round = 0; round < 7; ++round) {
            EXPECT_EQ(IpmiIfc::pollAll(kNodeCount, serial, IpmiIfc::IPMI_POLL_NORMAL, &shutdown), 0);
            EXPECT_LE(std::ranges::count(running.counted(), 1), round < 6 ? 0 : 1);
        }
        EXPECT_EQ(SKIP_SDR_STEP, serial ? 30 * kNodeCount : 30) << "multiplied by the process's first call alone";
        for (int node = 0; node < kNodeCount; ++node) { // the others' were put off: one after the other
            int done = 0;
            for (const int count : running.counted())
                done += count;
            EXPECT_EQ(done, node + 1);
            EXPECT_EQ(IpmiIfc::pollAll(kNodeCount, serial, IpmiIfc::IPMI_POLL_NORMAL, nullptr), 0);
        }
        EXPECT_EQ(IpmiIfc::pollAll(16, serial, IpmiIfc::IPMI_POLL_NONE, nullptr), 0);
        EXPECT_EQ(IpmiIfc::pollAll(16, serial, IpmiIfc::IPMI_POLL_FULL, nullptr), 0);
    }
    RunningNodes one(1);
    volatile bool shutdown = true;
    EXPECT_EQ(IpmiIfc::pollAll(2, true, IpmiIfc::IPMI_POLL_NORMAL, &shutdown), -1) << "node 1 has not begun";
    EXPECT_TRUE(one.nodes[0]->sim.log().has(LOG_INFO, "Shutdown signal received. Returning from IpmiIfc::pollAll()"));
}

TEST(Stop, endsALoopThatWaitsForTheBmcAndNothingLeaks)
{
    RunningNodes running(2);
    IpmiNode& node = running.nodes[0]->record;
    IpmiIfc::registerSelEventHandler(
        1, [](void*, IpmiSelData*) { IpmiIfc::stop(1); }, nullptr);
    IpmiIfc::pollAll(2, false, IpmiIfc::IPMI_POLL_FULL, nullptr);
    EXPECT_TRUE(running.nodes[1]->sim.log().has(LOG_WARNING, "Event handler ran into issues: (null)(200)"));
    EXPECT_FALSE(running.nodes[1]->record.shutdown) << "refused on the node's own thread";

    IpmiIfc::stop(0);
    EXPECT_THROW(IpmiIfc::stop(0), CmpiStatus);
    EXPECT_EQ(IpmiIfc::getState(0), IpmiIfc::IPMI_STATE_STOPPED);
    EXPECT_EQ(node.fd, -1);
    EXPECT_EQ(node.signalCmdPipeFds[FD_READ], -1);
    EXPECT_EQ(node.signalCmdPipeFds[FD_WRITE], -1);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, [](void*, IpmiSelData*) {}), 2);
    EXPECT_EQ(IpmiIfc::pollAll(2, true, IpmiIfc::IPMI_POLL_FULL, nullptr), 0) << "a stopped node is left out";
}

} // namespace
