// SPDX-License-Identifier: Apache-2.0
// What the event log costs: loading a long one, following it while it grows, and the room that its records take.
#include "BareExchange.h"
#include "LoggedBmc.h"
#include "Measure.h"
#include "Scenario.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"

#include <benchmark/benchmark.h>
#include <vector>

namespace Bench
{

namespace
{

using Ipmi::IpmiIfc;

/// The library's node 0, open on a BMC with a log of so many events.
class LoggedNode
{
public:
    explicit LoggedNode(unsigned events) : bmc_(events)
    {
        IpmiIfc::registerSelEventHandler(
            0, [](void* handled, Ipmi::IpmiSelData*) { ++*static_cast<std::size_t*>(handled); }, &handled_);
    }

    void addEvents(unsigned count) { bmc_.addEvents(count); }
    /// Has the log checked from now on as a polling loop does: what is new is read, and handled.
    void poll() { Ipmi::_setState(0, IpmiIfc::IPMI_STATE_RUNNING); }

    void check(benchmark::State& state) const
    {
        Ipmi::IpmiIfcSelGetInfo(0, nullptr);
        if (IpmiIfc::getSelData(0).size() != bmc_.events())
            state.SkipWithError("not every record was read once");
    }

    double commands() const { return bmc_.commands(); }
    std::size_t handled() const { return handled_; }

private:
    LoggedBmc bmc_;
    OpenNode node_;
    std::size_t handled_ = 0;
};

/// Processor time of one bare exchange, in microseconds, over a block of them.
double bareExchangeTime(benchmark::State& state, BareExchange& bare)
{
    constexpr int kBlock = 1000;
    bool fine = true;
    const double before = processorTime();
    for (int i = 0; i < kBlock; ++i)
        fine = bare.getDeviceId() && fine;
    if (!fine)
        state.SkipWithError("an exchange failed");
    return (processorTime() - before) / kBlock;
}

/// Loads a log of as many records as the argument says, in turns with bare exchanges, to which a record is compared.
void logLoad(benchmark::State& state)
{
    const auto records = static_cast<double>(state.range(0));
    const LoggedNode node(static_cast<unsigned>(state.range(0)));
    BareExchange bare;
    double commands = 0;
    std::vector<double> processorTimes, ratios;
    for (auto _ : state) {
        const double bareTime = bareExchangeTime(state, bare), before = node.commands();
        const Timepoint start = std::chrono::steady_clock::now();
        const double usedBefore = processorTime();
        node.check(state);
        processorTimes.push_back((processorTime() - usedBefore) / records);
        state.SetIterationTime(microsecondsSince(start) / 1e6);
        ratios.push_back(processorTimes.back() / bareTime);
        commands = node.commands() - before;
    }
    state.counters["commands"] = commands;
    state.counters["cpu_us_per_record"] = median(processorTimes);
    state.counters["ratio"] = median(ratios);
}

/// On a node that is polled: arguments are the records in the log, and those that come between two checks.
void logAdditions(benchmark::State& state)
{
    LoggedNode node(static_cast<unsigned>(state.range(0)));
    node.check(state);
    node.poll();
    const double before = node.commands();
    std::vector<double> processorTimes;
    for (auto _ : state) {
        node.addEvents(static_cast<unsigned>(state.range(1)));
        const double usedBefore = processorTime();
        Ipmi::IpmiIfcSelGetInfo(0, nullptr);
        processorTimes.push_back(processorTime() - usedBefore);
    }
    state.counters["commands"] = (node.commands() - before) / static_cast<double>(state.iterations());
    state.counters["cpu_us"] = median(processorTimes);
    node.check(state);
    if (node.handled() != static_cast<std::size_t>(state.iterations() * state.range(1)))
        state.SkipWithError("not every new event was handled once");
}

/// Room of a record with everything that leads to it, after a load and after additions one at a time.
void logHeap(benchmark::State& state)
{
    constexpr unsigned kAdditions = 1000;
    LoggedNode node(static_cast<unsigned>(state.range(0)));
    const auto growth = [&state, &node] { // without that of the simulator, in which an event comes to be
        const std::size_t before = heapInUse();
        node.check(state);
        return static_cast<double>(heapInUse()) - static_cast<double>(before);
    };
    for (auto _ : state) {
        const auto records = static_cast<double>(state.range(0));
        double taken = growth();
        state.counters["heap_per_record"] = taken / records;
        node.poll();
        for (unsigned i = 0; i < kAdditions; ++i) {
            node.addEvents(1);
            taken += growth();
        }
        state.counters["heap_per_record_grown"] = taken / (records + kAdditions);
    }
}

BENCHMARK(logLoad)->Arg(10'000)->MinTime(2)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(logAdditions)->ArgsProduct({{1000, 10'000}, {1, 100}})->Iterations(50)->Unit(benchmark::kMillisecond);
BENCHMARK(logHeap)->Arg(10'000)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
