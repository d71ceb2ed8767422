// SPDX-License-Identifier: Apache-2.0
// A node's life on a BMC that resets, vanishes or falls silent at every command, and stops at every command.
#include "node/LifeFixture.h"
#include "sel/IpmiIfcSel.h"
#include "transport/DriverRequests.h"
#include "wire/Commands.h"

#include <poll.h>

#include <map>

using namespace LifeTest;
using namespace std::chrono_literals;

namespace
{

using Heard = std::map<int, int>; ///< how often, by serial

void hear(void* heard, IpmiSelData* event)
{
    if (event)
        ++(*static_cast<Heard*>(heard))[Node::serialOf(*event)];
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
    Heard heard;
    int asked = 0;
    std::ptrdiff_t descriptors = 0;
    const auto resetInTurn = [&](const Sim::Request&) {
        if (++asked != nth)
            return true;
        node.bmc.reset(kBmc, reset.silence);
        node.sim.device([&](Sim::Device& device) { device.setBusy(reset.busy); });
        const Sim::Machine other = machineWith(kOtherSensors);
        node.bmc.change([&](Sim::Machine& machine) {
            machine.sdr = other.sdr;
            machine.sensors = other.sensors;
        });
        const auto state = node.bmc.state();
        state->clock.set(state->now() + static_cast<std::uint32_t>(reset.hours * 3600));
        return true;
    };
    node.live(kLastCycle + 1, [&](int wait) {
        if (wait == 1) {
            IpmiIfc::registerSelEventHandler(hear, &heard);
            node.before = resetInTurn;
            descriptors = openDescriptors();
        }
        if (wait == 2)
            node.before = nullptr;
        if (wait <= 2 || wait == kLastCycle)
            node.addEvent(static_cast<std::uint8_t>(wait));
        if (wait == kLastCycle)
            node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
    });
    EXPECT_EQ(openDescriptors(), descriptors);
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

TEST(Life, isASilentOneAfterAReopenThatFailed)
{
    const auto descriptors = openDescriptors();
    for (int nth = 1; nth <= 20; ++nth) {
        Node node(machineWith(3));
        int opens = 0;
        node.live(5, [&](int wait) {
            if (wait == 1) {
                node.sim.fail(IPMICTL_SEND_COMMAND, EBUSY, nth);
                node.sim.fail(Support::SimNode::kOpen, ENODEV);
                node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
            } else if (wait == 2) {
                opens = node.sim.calls(Support::SimNode::kOpen);
                node.bmc.clearCounts();
            }
        });
        EXPECT_EQ(node.record.fd, -1);
        EXPECT_EQ(node.sim.calls(Support::SimNode::kOpen), opens);
        EXPECT_EQ(node.bmc.count(), 0u);
        EXPECT_TRUE(node.sim.log().has(LOG_INFO, "Node 0: Unable to open node No such device"));
        EXPECT_EQ(node.sim.log().count(LOG_WARNING, "Could not get SEL info for node 0 after 10 tries"),
                  nth == 1 ? 4 : 3);
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

/// A life that is stopped at its nth command, from start-up to the end of a full cycle. @return false when that has
/// fewer commands
bool stopAtCommand(int nth, bool answered)
{
    Node node(machineWith(3));
    std::thread stopper;
    int asked = 0, wait = 0;
    std::chrono::milliseconds begin{0};
    node.before = [&](const Sim::Request&) {
        if (++asked != nth)
            return true;
        stopper = beginStop(node);
        begin = node.sim.clock().steadyTime();
        return answered;
    };
    node.sim.clock().onWait([&] {
        if (++wait == 2 && !stopper.joinable()) {
            asked = nth;
            stopper = std::thread([] { IpmiIfc::stop(0); });
        }
        node.addEvent(0);
    });
    IpmiIfc::start(1);
    stopper.join();
    if (wait < 2) {
        EXPECT_EQ(asked, nth) << "asked after the stop";
        EXPECT_LT(node.sim.clock().steadyTime() - begin, 1s);
    }
    EXPECT_EQ(IpmiIfc::getState(), IpmiIfc::IPMI_STATE_STOPPED);
    EXPECT_EQ(node.record.fd, -1);
    EXPECT_EQ(node.record.signalCmdPipeFds[FD_WRITE], -1);
    return wait < 2;
}

TEST(Stop, endsStartUpAndCycleAtAnyCommand)
{
    const auto descriptors = openDescriptors();
    for (const bool answered : {true, false}) {
        int nth = 1;
        while (stopAtCommand(nth, answered) && !HasFailure())
            ++nth;
        EXPECT_GT(nth, 40);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
}

/// Each makes the library wait before it tries again: in the loop, and inside the checks of log and repository.
const std::vector<Sim::FaultRule> kBusy[] = {
    {fault(wire::kGetSelInfo.cmd, 2, 0, code(wire::cc::kNodeBusy))},
    {fault(wire::kReserveSel.cmd, 1, 0, code(wire::cc::kNodeBusy))},
    {fault(wire::kGetSelEntry.cmd, 1, 0, code(wire::cc::kNodeBusy))},
    {fault(wire::kGetSelEntry.cmd, 1, 0, cut(9))},
    {fault(wire::kGetSelEntry.cmd, 1, 0, kLost)},
    {fault(wire::kGetSdr.cmd, 4, 0, cut(9))},
    {fault(wire::kGetSdr.cmd, 1, 0, kLost)},
};

TEST(Stop, endsAnyPauseBeforeARetry)
{
    for (const auto& busy : kBusy) {
        SCOPED_TRACE(&busy - kBusy);
        for (int nth = 1; nth <= 4; ++nth) {
            Node node(machineWith(3));
            node.bmc.setFaults(Sim::FaultPlan(busy));
            std::thread stopper;
            int slept = 0;
            std::chrono::milliseconds begin{0};
            node.sim.clock().onSleep([&] {
                if (++slept != nth)
                    return;
                stopper = beginStop(node);
                begin = node.sim.clock().steadyTime();
            });
            node.live(5, [&](int) {
                node.addEvent(0);
                node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
            });
            ASSERT_TRUE(stopper.joinable()) << "nothing to wait for";
            stopper.join();
            EXPECT_EQ(slept, nth) << "waited after the stop";
            EXPECT_EQ(node.sim.clock().steadyTime(), begin);
        }
    }
}

TEST(Stop, waitsForAStartThatComesLater)
{
    const auto descriptors = openDescriptors();
    for (int life = 0; life < 2; ++life) { // the first one's record has never been initialised
        Node node;
        std::thread stopper([] { IpmiIfc::stop(0); });
        while (!node.record.shutdown)
            std::this_thread::yield();
        IpmiIfc::start(1);
        stopper.join();
        EXPECT_EQ(node.bmc.count(), 0u);
    }
    EXPECT_EQ(openDescriptors(), descriptors);
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
