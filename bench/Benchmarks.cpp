// SPDX-License-Identifier: Apache-2.0
// The measurements. Each makes its own machine on the simulated device.
#include "BareExchange.h"
#include "Measure.h"
#include "Scenario.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"

#include <atomic>
#include <benchmark/benchmark.h>
#include <memory>
#include <thread>
#include <vector>

namespace Bench
{

namespace
{

bool libraryGetDeviceId()
{
    unsigned char answer[32];
    unsigned short length = sizeof answer;
    return Ipmi::IpmiIfc::sendCmd(0, 0x01, 0x06, 0, nullptr, &length, answer) == 0;
}

/// Microseconds per exchange, over a block of them.
template <typename Exchange> double timed(benchmark::State& state, Exchange exchange)
{
    constexpr int kBlock = 100;
    bool fine = true;
    const Timepoint start = std::chrono::steady_clock::now();
    for (int i = 0; i < kBlock; ++i)
        fine = exchange() && fine;
    const double each = microsecondsSince(start) / kBlock;
    if (!fine)
        state.SkipWithError("an exchange failed");
    return each;
}

/// Bare and library exchanges in turns, block by block, so that both meet the same state of the machine.
void exchange(benchmark::State& state)
{
    const Scenario scenario(1);
    BareExchange bare;
    std::vector<double> bareTimes, libraryTimes, ratios;
    for (auto _ : state) {
        const bool bareFirst = bareTimes.size() % 2 == 0;
        double bareTime = bareFirst ? timed(state, [&] { return bare.getDeviceId(); }) : 0;
        const double libraryTime = timed(state, libraryGetDeviceId);
        if (!bareFirst)
            bareTime = timed(state, [&] { return bare.getDeviceId(); });
        bareTimes.push_back(bareTime);
        libraryTimes.push_back(libraryTime);
        ratios.push_back(libraryTime / bareTime);
    }
    if (ratios.empty())
        return;
    state.counters["bare_us"] = median(bareTimes);
    state.counters["library_us"] = median(libraryTimes);
    state.counters["ratio"] = median(ratios);
}

/// Runs `what` on a machine of as many records as the argument says; gives the median times per record:
/// by the clock, and of the processor, which other programs on the machine disturb less.
template <typename What> void perRecord(benchmark::State& state, const Scenario& scenario, What what)
{
    const auto records = static_cast<double>(state.range(0));
    std::vector<double> times, processorTimes;
    const std::uint64_t before = scenario.bmc().count();
    for (auto _ : state) {
        const Timepoint start = std::chrono::steady_clock::now();
        const double usedBefore = processorTime();
        what();
        processorTimes.push_back(processorTime() - usedBefore);
        times.push_back(microsecondsSince(start));
    }
    const auto commands = static_cast<double>(scenario.bmc().count() - before);
    state.counters["us_per_record"] = median(times) / records;
    state.counters["cpu_us_per_record"] = median(processorTimes) / records;
    state.counters["commands_per_record"] = commands / static_cast<double>(times.size()) / records;
}

void read(benchmark::State& state)
{
    const Scenario scenario(static_cast<unsigned>(state.range(0)));
    const std::size_t before = heapInUse();
    scenario.load();
    const std::size_t after = heapInUse();
    state.counters["heap_per_sensor"] = static_cast<double>(after - before) / static_cast<double>(state.range(0));
    perRecord(state, scenario, [] { Ipmi::IpmiIfcSdrGetInfo(0); });
}

void refresh(benchmark::State& state)
{
    const Scenario scenario(static_cast<unsigned>(state.range(0)));
    scenario.load();
    perRecord(state, scenario, [] { Ipmi::IpmiIfcSensorUpdateReading(0); });
}

/// A machine that is refreshed again and again while others ask for its sensors.
class Refreshed
{
public:
    explicit Refreshed(bool refreshing) : scenario_(kSensors)
    {
        scenario_.load();
        if (refreshing)
            thread_ = std::thread([this] {
                while (!end_)
                    Ipmi::IpmiIfcSensorUpdateReading(0);
            });
    }
    ~Refreshed()
    {
        end_ = true;
        if (thread_.joinable())
            thread_.join();
    }

    /// Keeps the longest of all.
    void took(double microseconds)
    {
        double longest = longest_;
        while (microseconds > longest && !longest_.compare_exchange_weak(longest, microseconds)) {
        }
    }
    double longest() const { return longest_; }

    static constexpr unsigned kSensors = 500;

private:
    Scenario scenario_;
    std::atomic<bool> end_{false};
    std::atomic<double> longest_{0};
    std::thread thread_;
};

std::unique_ptr<Refreshed> refreshed;

void getSensors(benchmark::State& state)
{
    double total = 0;
    for (auto _ : state) {
        const Timepoint start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(Ipmi::IpmiIfc::getSensors(0));
        const double one = microsecondsSince(start);
        refreshed->took(one);
        total += one;
    }
    using Counter = benchmark::Counter;
    state.counters["mean_us"] = Counter(total / static_cast<double>(state.iterations()), Counter::kAvgThreads);
    state.counters["longest_us"] = Counter(refreshed->longest(), Counter::kAvgThreads);
}

BENCHMARK(exchange)->MinTime(3)->Unit(benchmark::kMillisecond);
BENCHMARK(read)->Arg(50)->Arg(500)->Arg(5000)->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(refresh)->Arg(50)->Arg(500)->Arg(5000)->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(getSensors)
    ->Arg(0)
    ->Arg(1)
    ->Threads(8)
    ->UseRealTime()
    ->Setup([](const benchmark::State& state) { refreshed = std::make_unique<Refreshed>(state.range(0) != 0); })
    ->Teardown([](const benchmark::State&) { refreshed.reset(); })
    ->Unit(benchmark::kMicrosecond);

} // namespace

} // namespace Bench
