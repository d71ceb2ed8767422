// SPDX-License-Identifier: Apache-2.0
// A day of polling on a BMC that goes wrong now and then: what a node holds after it is what it held after an hour.
#include "faults/Model.h"
#include "node/LifeFixture.h"
#include "sim/faults/RandomFaults.h"
#include "sim/machine/MachineFile.h"

#include <malloc.h>

#include <climits>
#include <optional>

using namespace FaultTest;
using namespace LifeTest;
using namespace std::chrono_literals;

namespace
{

constexpr std::chrono::seconds kDay = kSanitized ? 6h : 24h; // their heap is not looked at

/// Everything that goes wrong but what changes entities: those of a damaged or an older repository stay.
Sim::FaultPlan faults(std::uint64_t seed)
{
    constexpr unsigned kPerMille = 10;
    std::vector<Sim::FaultSource> sources;
    for (const auto name : Sim::faultNames())
        if (name != "change" && name != "repository")
            sources.push_back(Sim::faultSource(name));
    Sim::FaultPlan plan;
    plan.add({}, Sim::RandomFaults(seed, kPerMille, sources));
    return plan;
}

/// 0 where a sanitizer has a heap of its own; it looks for leaks itself.
std::size_t heapInUse()
{
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// What a node at rest holds.
struct Held {
    Model model = currentModel();
    std::ptrdiff_t descriptors = openDescriptors();
    std::size_t heap = heapInUse();
};

TEST(Poll, ofADayLeavesNothingBehind)
{
    constexpr int kCyclesToRest = 4;             // without faults, with an empty log and everything read anew
    constexpr std::size_t kTolerance = 48 << 10; // free chunks that malloc keeps for the thread count as used
    const Sim::Machine machine = steady(Sim::loadMachine("sample"));
    Node node(machine);
    TRX::setLogSink([](int, const char*) {}); // a day's lines would be on the heap
    node.bmc.keepLog(false);
    node.bmc.setFaults(faults(1));
    std::atomic<int> nulls{0};
    std::optional<Held> afterAnHour;
    const auto begin = node.sim.clock().steadyTime();
    auto restAt = begin + 1h;
    int cycles = 0, restCycle = 0;
    node.live(INT_MAX, [&](int wait) {
        cycles = wait;
        if (wait == 1)
            IpmiIfc::registerSelEventHandler(countNulls, &nulls);
        if (node.sim.clock().steadyTime() < restAt)
            return wait % 50 == 0 ? node.addEvent(1) : void();
        if (restCycle++ == 0) {
            node.bmc.setFaults({});
            node.bmc.change([&](Sim::Machine& changed) { changed = machine; });
            node.bmc.state()->log.clear();
        }
        node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
        if (restCycle <= kCyclesToRest)
            return;
        if (!afterAnHour) {
            afterAnHour.emplace();
            restCycle = 0;
            restAt = begin + kDay;
            return node.bmc.setFaults(faults(2));
        }
        EXPECT_EQ(currentModel(), afterAnHour->model);
        EXPECT_EQ(openDescriptors(), afterAnHour->descriptors);
        EXPECT_LE(heapInUse(), afterAnHour->heap + kTolerance);
        node.record.shutdown = true;
    });
    ASSERT_TRUE(afterAnHour);
    EXPECT_GT(afterAnHour->model.size(), 30u);
    EXPECT_GT(nulls, 50);
    EXPECT_GT(cycles, kDay / 25s);
}

} // namespace
