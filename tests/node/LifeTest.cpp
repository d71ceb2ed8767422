// SPDX-License-Identifier: Apache-2.0
// A node's life on a BMC that resets, vanishes or falls silent at every command, and stops at every command.
#include "node/LifeFixture.h"
#include "sel/IpmiIfcSel.h"
#include "wire/Commands.h"

#include <poll.h>

#include <map>

using namespace LifeTest;
using namespace std::chrono_literals;

namespace
{

/// Counts how often it hears of each event, by serial.
void hear(void* heard, IpmiSelData* event)
{
    if (event)
        ++(*static_cast<std::map<int, int>*>(heard))[Node::serialOf(*event)];
}

// --- resets

struct Reset {
    const char* name;
    std::chrono::milliseconds silence, busy; ///< of the BMC; of the driver
    int hours;                               ///< that its clock goes ahead
};
constexpr Reset kResets[] = {{"silent", 90s, 0s, 0},
                             {"refused", 0s, 90s, 1},
                             {"silent and refused", 90s, 120s, -1000},
                             {"another time", 1s, 0s, 1000}};

/// A life in which the BMC resets at the nth command of a full cycle. @return false when that has fewer commands
bool liveThroughReset(const Reset& reset, int nth)
{
    constexpr unsigned kSensors = 3, kOtherSensors = 5;
    constexpr int kLastCycle = 6;
    Node node(machineWith(kSensors));
    std::map<int, int> heard;
    int asked = 0;
    const auto resetInTurn = [&](const Sim::Request&) {
        if (++asked != nth)
            return true;
        node.bmc.reset(kBmc, reset.silence);
        node.sim.device([&](Sim::Device& device) { device.setBusy(reset.busy); });
        node.bmc.change([other = machineWith(kOtherSensors)](Sim::Machine& machine) {
            std::tie(machine.sdr, machine.sensors) = std::tie(other.sdr, other.sensors);
        });
        const auto state = node.bmc.state();
        state->clock.set(state->now() + static_cast<std::uint32_t>(reset.hours * 3600));
        return true;
    };
    node.live(kLastCycle + 1, [&](int wait) {
        if (wait == 1) {
            IpmiIfc::registerSelEventHandler(hear, &heard);
            node.before = resetInTurn;
        }
        if (wait == 2)
            node.before = nullptr;
        if (wait <= 2 || wait == kLastCycle)
            node.addEvent(static_cast<std::uint8_t>(wait));
        if (wait == kLastCycle)
            node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
    });
    EXPECT_EQ(heard[kLastCycle], 1);
    for (const auto& [serial, times] : heard) // where the clock went back, what was newer than its new time comes again
        EXPECT_LE(times, reset.hours < 0 && serial == 1 ? 2 : 1) << serial;
    EXPECT_EQ(IpmiIfc::getSensors().size(), std::size_t{asked >= nth ? kOtherSensors : kSensors});
    return asked >= nth;
}

TEST(Life, goesOnAfterAResetAtAnyCommandOfACycle)
{
    const auto descriptors = openDescriptors();
    for (const Reset& reset : kResets) {
        int nth = 1;
        for (bool again = true; again && !HasFailure(); ++nth) {
            SCOPED_TRACE(reset.name + (" at command " + std::to_string(nth)));
            again = liveThroughReset(reset, nth);
        }
        EXPECT_GT(nth, 12);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

// --- stop, at every moment

/// Another thread's stop, which has signalled when this returns.
std::thread beginStop(Node& node)
{
    std::thread stopper([] { IpmiIfc::stop(0); });
    pollfd signal{node.record.signalCmdPipeFds[FD_READ], POLLIN, 0};
    EXPECT_EQ(::poll(&signal, 1, 10'000), 1);
    return stopper;
}

enum class In { command, silentCommand, pause };

/// A life, of some full cycles, that is stopped in its nth command or pause before a retry; 0: before it begins.
/// @return false when it has fewer
bool stopIn(In what, int nth, int cycles, Faults faults = {})
{
    Node node(machineWith(3));
    node.bmc.setFaults(Sim::FaultPlan(std::move(faults)));
    Support::FakeClock& clock = node.sim.clock();
    std::thread stopper;
    int count = 0, wait = 0;
    auto begin = clock.steadyTime();
    const auto isItsTurn = [&] {
        if (++count != nth)
            return false;
        stopper = beginStop(node);
        begin = clock.steadyTime();
        return true;
    };
    if (what == In::pause)
        clock.onSleep(isItsTurn);
    else
        node.before = [&](const Sim::Request&) { return !isItsTurn() || what == In::command; };
    if (nth == 0)
        stopper = std::thread([] { IpmiIfc::stop(0); });
    while (nth == 0 && !node.record.shutdown)
        std::this_thread::yield();
    clock.onWait([&] {
        if (++wait > cycles && !stopper.joinable()) {
            count = nth; // not in what may still come
            stopper = std::thread([] { IpmiIfc::stop(0); });
        }
        node.addEvent(0);
        node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
    });
    IpmiIfc::start(1);
    stopper.join();
    if (wait <= cycles) {
        EXPECT_EQ(count, nth) << "went on after the stop";
        EXPECT_LT(clock.steadyTime() - begin, 1s);
    }
    EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
    EXPECT_TRUE(node.record.fd == -1 && node.record.signalCmdPipeFds[FD_WRITE] == -1);
    return wait <= cycles;
}

TEST(Stop, endsStartUpAndCycleAtAnyCommand)
{
    const auto descriptors = openDescriptors();
    for (const In what : {In::command, In::silentCommand}) { // the first life's record has never been initialised
        int nth = 0;
        while (stopIn(what, nth, 1) && !HasFailure())
            ++nth;
        EXPECT_GT(nth, 40);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

/// Each makes the library wait before it tries again: in the loop, and inside the checks of log and repository.
const Sim::FaultRule kBusy[] = {
    fault(wire::kGetSelInfo.cmd, 2, 0, code(wire::cc::kNodeBusy)),
    fault(wire::kReserveSel.cmd, 1, 0, code(wire::cc::kNodeBusy)),
    fault(wire::kGetSelEntry.cmd, 1, 0, code(wire::cc::kNodeBusy)),
    fault(wire::kGetSelEntry.cmd, 1, 0, cut(9)),
    fault(wire::kGetSelEntry.cmd, 1, 0, kLost),
    fault(wire::kGetSdr.cmd, 4, 0, cut(9)),
    fault(wire::kGetSdr.cmd, 1, 0, kLost),
};

TEST(Stop, endsAnyPauseBeforeARetry)
{
    for (const auto& busy : kBusy)
        for (int nth = 1; nth <= 4; ++nth)
            EXPECT_TRUE(stopIn(In::pause, nth, 4, {busy})) << "no pause " << nth << " at fault " << &busy - kBusy;
}

TEST(Stop, endsAPollAllThatWaitsForTheNode)
{
    for (const bool serial : {true, false}) {
        RunningNodes running(2);
        std::thread other;
        running.nodes[0]->before = [&](const Sim::Request&) {
            if (!other.joinable())
                other = std::thread([] { IpmiIfc::stop(0); });
            return false;
        };
        EXPECT_EQ(IpmiIfc::pollAll(2, serial, IpmiIfc::IPMI_POLL_FULL, nullptr), 0); // in its cycle
        other.join();
        EXPECT_THROW(IpmiIfc::stop(0), CmpiStatus);
        EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, hear), 2);

        Node late(machineWith(), 2);
        std::thread stopper([] { IpmiIfc::stop(2); });
        EXPECT_EQ(IpmiIfc::pollAll(3, serial, IpmiIfc::IPMI_POLL_FULL, nullptr), 0); // before it, and without node 0
        IpmiIfc::start(2, 1);
        stopper.join();
        EXPECT_EQ(running.cycles[1], 2);
    }
}

TEST(Stop, isRefusedToTheNodesHandlersAndSoIsPollAll)
{
    RunningNodes running(2);
    IpmiIfc::pollAll(2, true, IpmiIfc::IPMI_POLL_NONE, nullptr); // waits until they know their logs
    int refused = 0;
    const auto handler = [](void* count, IpmiSelData*) {
        EXPECT_EQ(IpmiIfc::pollAll(2, true, IpmiIfc::IPMI_POLL_FULL, nullptr), -1);
        try {
            IpmiIfc::stop(0);
        } catch (const CmpiStatus& status) {
            *static_cast<int*>(count) += status.rc() == CMPI_RC_ERROR;
        }
    };
    IpmiIfc::registerSelEventHandler(0, handler, &refused);
    running.nodes[0]->addEvent(1);
    EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0); // on this thread
    EXPECT_EQ(refused, 1);
    EXPECT_EQ(running.counted(), (std::vector{0, 0, 0, 0}));
    IpmiIfc::pollAll(1, true, IpmiIfc::IPMI_POLL_FULL, nullptr); // on the node's
    EXPECT_EQ(running.counted(), (std::vector{1, 0, 0, 0}));
    EXPECT_EQ(refused, 2);
    EXPECT_FALSE(running.nodes[0]->record.shutdown);
}

} // namespace
