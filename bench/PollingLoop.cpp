// SPDX-License-Identifier: Apache-2.0
// What a running polling loop costs: how soon it hands a new event to a handler, and its cycles in which nothing is
// new. Each run's node is one that no other has used.
#include "BareExchange.h"
#include "LoggedBmc.h"
#include "Measure.h"
#include "RunningNode.h"

#include <benchmark/benchmark.h>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

namespace Bench
{

namespace
{

using Ipmi::IpmiIfc;

constexpr unsigned kSensors = 50;

/// So many exchanges, one after the other.
void exchange(benchmark::State& state, BareExchange& bare, double count)
{
    bool fine = true;
    for (double i = 0; i < count; ++i)
        fine = bare.getDeviceId() && fine;
    if (!fine)
        state.SkipWithError("an exchange failed");
}

/// What a handler saw of the events since it was asked last.
struct Heard {
    const LoggedBmc* bmc;
    unsigned events = 0;
    Timepoint time{};
    double commands = 0; ///< that the BMC had answered by then

    static void handle(void* self, Ipmi::IpmiSelData* record)
    {
        const Timepoint now = std::chrono::steady_clock::now();
        if (record == nullptr)
            return; // the end of the cycle's refresh
        auto& heard = *static_cast<Heard*>(self);
        ++heard.events;
        heard.time = now;
        heard.commands = heard.bmc->commands();
    }
};

/// On a log of as many records as the argument says: from an event's arrival, of which the loop is told at once, to the
/// handler. As many bare exchanges as there were commands until then follow when the cycle is over, and are subtracted.
void eventToHandler(benchmark::State& state)
{
    LoggedBmc bmc(static_cast<unsigned>(state.range(0)), kSensors);
    Heard heard{.bmc = &bmc};
    RunningNode node;
    BareExchange bare;
    IpmiIfc::registerSelEventHandler(node.number(), Heard::handle, &heard);
    std::vector<double> whole, beyond;
    for (auto _ : state) {
        bmc.addEvents(1);
        const double commandsBefore = bmc.commands();
        const Timepoint arrival = std::chrono::steady_clock::now();
        node.cycle(IpmiIfc::IPMI_POLL_NORMAL);
        if (std::exchange(heard.events, 0U) != 1) {
            state.SkipWithError(node.error().empty() ? "an event was not handled once" : node.error().c_str());
            break;
        }
        whole.push_back(std::chrono::duration<double, std::micro>(heard.time - arrival).count());
        const double commands = heard.commands - commandsBefore;
        const Timepoint start = std::chrono::steady_clock::now();
        exchange(state, bare, commands);
        beyond.push_back(whole.back() - microsecondsSince(start));
        state.SetIterationTime(whole.back() / 1e6);
        state.counters["commands"] = commands;
    }
    if (beyond.empty())
        return;
    state.counters["whole_us"] = median(whole);
    state.counters["us"] = median(beyond);
    state.counters["us_99"] = quantile(beyond, 0.99);
}

/// Cycles of one kind, and the bare exchanges in turns with them, as many as the cycle had commands.
class IdleCycles
{
public:
    IdleCycles(const char* name, IpmiIfc::IPMI_POLL_TYPE type) : name_(name), type_(type) {}

    /// All from one eighth cycle that reads the repository to the next, so that the mean is that of a long time.
    void run(benchmark::State& state, const LoggedBmc& bmc, RunningNode& node)
    {
        constexpr int kCycles = 8 * 30;
        BareExchange bare;
        double usedBefore = node.processorTime();
        for (int i = 0; i < kCycles; ++i) {
            const double commandsBefore = bmc.commands();
            node.cycle(type_);
            commands_.push_back(bmc.commands() - commandsBefore);
            const double bareBefore = processorTime();
            exchange(state, bare, commands_.back());
            bareTimes_.push_back(processorTime() - bareBefore);
            const double used = node.processorTime(); // now that it sleeps
            times_.push_back(used - usedBefore);
            usedBefore = used;
        }
    }

    /// The median cycle is an ordinary one: where eighth cycles do more they are few.
    void report(benchmark::State& state)
    {
        report(state, name_ + "_mean_", [](const std::vector<double>& values) {
            return std::accumulate(values.begin(), values.end(), 0.0) / static_cast<double>(values.size());
        });
        report(state, name_ + '_', median);
    }

private:
    template <typename Average> void report(benchmark::State& state, const std::string& name, Average average)
    {
        const double time = average(times_);
        state.counters[name + "us"] = time;
        state.counters[name + "ratio"] = time / average(bareTimes_);
        state.counters[name + "commands"] = average(commands_);
    }

    std::string name_;
    IpmiIfc::IPMI_POLL_TYPE type_;
    std::vector<double> times_, bareTimes_, commands_;
};

/// The loop's processor time for cycles without a new event, on 50 sensors of the BMC.
void idleCycle(benchmark::State& state)
{
    LoggedBmc bmc(1000, kSensors);
    RunningNode node;
    node.cycle(IpmiIfc::IPMI_POLL_FULL);
    if (IpmiIfc::getSensors(node.number()).size() != kSensors)
        return state.SkipWithError(node.error().empty() ? "not every sensor was read" : node.error().c_str());
    IdleCycles kinds[] = {{"log", IpmiIfc::IPMI_POLL_SEL},
                          {"sensors", IpmiIfc::IPMI_POLL_SENSORS},
                          {"normal", IpmiIfc::IPMI_POLL_NORMAL}};
    for (auto _ : state)
        for (IdleCycles& kind : kinds)
            kind.run(state, bmc, node);
    if (!node.error().empty())
        return state.SkipWithError(node.error().c_str());
    for (IdleCycles& kind : kinds)
        kind.report(state);
}

BENCHMARK(eventToHandler)->Arg(1000)->Arg(10'000)->Iterations(1000)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(idleCycle)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
