// A day of polling on a BMC that goes wrong now and then: what a node holds after it is what it held after an hour.
#include "faults/Model.h"
#include "node/LifeFixture.h"
#include "sim/MachineFile.h"
#include "sim/RandomFaults.h"

#include <malloc.h>

using namespace FaultTest;
using namespace LifeTest;
using namespace std::chrono_literals;

namespace
{

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr std::chrono::seconds kDay = 6h; // their heap is not looked at
#else
constexpr std::chrono::seconds kDay = 24h;
#endif

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

/// Polls on its own thread, and comes to rest twice: without faults, with an empty log and everything read anew.
struct Day {
    static constexpr int kCyclesToRest = 4;
    const Sim::Machine machine = steady(Sim::loadMachine("sample"));
    Node node{machine};
    std::chrono::milliseconds begin = node.sim.clock().steadyTime(), restAt = begin + 1h;
    int cycle = 0, events = 0, restCycle = 0;
    std::function<void()> atRest;

    explicit Day(std::function<void()> then) : atRest(std::move(then))
    {
        node.bmc.keepLog(false);
        TRX::setLogSink([](int, const char*) {}); // a day's lines would be on the heap
        node.bmc.setFaults(faults(1));
        node.sim.clock().onWait([this] { nextCycle(); });
    }

    void nextCycle()
    {
        if (++cycle == 1)
            IpmiIfc::registerSelEventHandler([](void* count, IpmiSelData*) { ++*static_cast<int*>(count); }, &events);
        if (node.sim.clock().steadyTime() < restAt) {
            if (cycle % 50 == 0)
                node.addEvent(1);
            return;
        }
        if (restCycle == 0) {
            node.bmc.setFaults({});
            node.bmc.change([this](Sim::Machine& changed) { changed = machine; });
            node.bmc.clearSel();
        }
        node.record.pollType = IpmiIfc::IPMI_POLL_FULL;
        if (++restCycle <= kCyclesToRest)
            return;
        restCycle = 0;
        node.record.shutdown = restAt == begin + kDay;
        restAt = begin + kDay;
        node.bmc.setFaults(faults(2));
        atRest();
    }
};

TEST(Poll, ofADayLeavesNothingBehind)
{
    constexpr std::size_t kTolerance = 48 << 10; // free chunks that malloc keeps for the thread count as used
    Model model;
    std::ptrdiff_t descriptors = 0;
    std::size_t heap = 0;
    Day day([&] {
        if (model.empty()) {
            model = currentModel();
            descriptors = openDescriptors();
            heap = heapInUse();
            return;
        }
        EXPECT_EQ(currentModel(), model);
        EXPECT_EQ(openDescriptors(), descriptors);
        EXPECT_LE(heapInUse(), heap + kTolerance);
    });
    IpmiIfc::start(1);
    EXPECT_GT(model.size(), 30u);
    EXPECT_GT(day.events, 50);
    EXPECT_GT(day.cycle, kDay / 25s);
}

} // namespace
