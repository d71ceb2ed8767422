// SPDX-License-Identifier: Apache-2.0
// What the hardware inventory of the sample machine costs: commands and time by byte, beside other programs, and room.
#include "BareExchange.h"
#include "Client.h"
#include "Measure.h"
#include "Scenario.h"
#include "ServedSimulator.h"
#include "base/Log.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"
#include "sim/bmc/Bmc.h"
#include "sim/machine/MachineFile.h"
#include "wire/Commands.h"
#include "wire/FruLayout.h"

#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>
#include <numeric>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Bench
{

namespace
{

using Ipmi::IpmiIfc;

/// Bytes of common headers and areas that the inventory found.
double fruBytes()
{
    std::size_t bytes = 0;
    for (const Ipmi::IpmiFruDevice& device : IpmiIfc::getFruDevices(0)) {
        bytes += device.state == Ipmi::IpmiFruDevice::kRead ? Ipmi::wire::fru::kHeaderSize : 0;
        for (const Ipmi::IpmiFruArea& area : device.areas)
            bytes += area.contents->length();
    }
    return static_cast<double>(bytes);
}

/// The library's node 0, open on the sample machine, with its repository.
class SampleNode
{
public:
    SampleNode() : bmc_(Sim::loadMachine("sample")), device_(bmc_)
    {
        device_.waitForSatellites(std::chrono::seconds(10)); // one of them takes its time
        node_.emplace();
        Ipmi::IpmiIfcSdrGetInfo(0);
    }

    double commands() const { return static_cast<double>(bmc_.count()); }

private:
    Sim::Bmc bmc_;
    SimDevice device_;
    std::optional<OpenNode> node_;
};

/// Processor time of so many bare exchanges, in microseconds.
double bareExchanges(benchmark::State& state, BareExchange& bare, double count)
{
    bool fine = true;
    const double before = processorTime();
    for (int i = 0; i < static_cast<int>(count); ++i)
        fine = bare.getDeviceId() && fine;
    if (!fine)
        state.SkipWithError("an exchange failed");
    return processorTime() - before;
}

/// The inventory, in turns with as many bare exchanges as it has commands. Argument 1: its log lines are dropped, not
/// sent to syslog.
void fruInventory(benchmark::State& state)
{
    const SampleNode node;
    BareExchange bare;
    if (state.range(0) == 1)
        TRX::setLogSink([](int, const char*) {});
    const double before = node.commands();
    Ipmi::IpmiIfcFruInstantiateAll(0);
    const double commands = node.commands() - before, bytes = fruBytes();
    std::vector<double> times, ratios;
    for (auto _ : state) {
        const double bareTime = bareExchanges(state, bare, commands), usedBefore = processorTime();
        Ipmi::IpmiIfcFruInstantiateAll(0);
        times.push_back(processorTime() - usedBefore);
        ratios.push_back(times.back() / bareTime);
    }
    TRX::setLogSink(nullptr);
    state.counters["bytes"] = bytes;
    state.counters["commands"] = commands;
    state.counters["cpu_us_per_byte"] = median(times) / bytes;
    state.counters["ratio"] = median(ratios);
}

/// Bytes that end with a list of the node's inventory. What a thread frees is in use by the allocator's figures while
/// the thread keeps it for itself: hence one that ends.
template <typename List> double roomOf(List& list)
{
    std::thread([] {}).join(); // what the first of all threads leaves behind
    const std::size_t before = heapInUse();
    std::thread([&list] { List().swap(list); }).join();
    return static_cast<double>(before) - static_cast<double>(heapInUse());
}

/// The lists share the areas: these are counted where the second one ends.
void fruHeap(benchmark::State& state)
{
    const SampleNode node;
    Ipmi::IpmiNode& self = Ipmi::g_IpmiNode[0];
    for (auto _ : state) {
        Ipmi::IpmiIfcFruInstantiateAll(0);
        TRX::MutexLock hold(self.fruListLock);
        const auto frus = static_cast<double>(self.frus.size()), devices = static_cast<double>(self.fruDevices.size());
        state.counters["frus"] = frus;
        state.counters["devices"] = devices;
        state.counters["bytes_per_fru"] = roomOf(self.frus) / frus;
        state.counters["bytes_per_device"] = roomOf(self.fruDevices) / devices;
    }
}

/// The last text of the sample machine's last FRU device, which is a satellite's.
constexpr const char* kLastText = "NOD0001";
constexpr Client kClients[] = {
    {"trx-ipmi", TRX_IPMI_PROGRAM " fru"},
    {"ipmitool", "ipmitool -I open fru print"},
    {.name = "ipmi-fru", .command = "ipmi-fru --bridge-fru", .isFreeIpmi = true},
};

/// One of those who ask the same simulator.
struct Contender {
    std::string name;
    std::function<bool()> ask;
    std::vector<double> times = {}, ratios = {};
    ServedSimulator::Counts counts = {};
};

void measure(benchmark::State& state, const ServedSimulator& simulator, Contender& contender)
{
    simulator.takeCounts();
    const Timepoint start = std::chrono::steady_clock::now();
    if (!contender.ask())
        state.SkipWithError((contender.name + " failed, or does not list the last FRU device").c_str());
    contender.times.push_back(microsecondsSince(start));
    contender.counts = simulator.takeCounts();
}

void count(benchmark::State& state, Contender& contender)
{
    const auto counter = [&](const char* what) -> benchmark::Counter& {
        return state.counters[contender.name + '_' + what];
    };
    const auto of = [&](const Ipmi::wire::Command& command) { return contender.counts[{command.netfn, command.cmd}]; };
    counter("ms") = median(contender.times) / 1000;
    counter("ratio") = median(contender.ratios);
    counter("info") = of(Ipmi::wire::kGetFruInfo);
    counter("read") = of(Ipmi::wire::kReadFru);
    counter("commands") = std::accumulate(contender.counts.begin(), contender.counts.end(), 0.0,
                                          [](double sum, const auto& entry) { return sum + entry.second; });
}

/// The library in this process, which has its repository already, and the programs, in turns: whatever else the machine
/// does, each turn's ratios to the first program are of the same minute.
void fruClient(benchmark::State& state)
{
    const ServedSimulator simulator("--machine sample --latency 5");
    const OpenNode node;
    Ipmi::IpmiIfcSdrGetInfo(0);
    std::vector<Contender> all{{"library", [] { return Ipmi::IpmiIfcFruInstantiateAll(0) == 0; }}};
    for (const Client& client : kClients) {
        if (client.isInstalled())
            all.push_back({client.name, [&] { return simulator.run(client.line(), kLastText); }});
    }
    for (auto _ : state) {
        for (Contender& contender : all)
            measure(state, simulator, contender);
        for (Contender& contender : all)
            contender.ratios.push_back(contender.times.back() / all[1].times.back());
    }
    for (Contender& contender : all)
        count(state, contender);
    state.counters["bytes"] = fruBytes();
}

BENCHMARK(fruInventory)->Arg(0)->Arg(1)->MinTime(2)->Unit(benchmark::kMillisecond);
BENCHMARK(fruHeap)->Iterations(1)->Unit(benchmark::kMillisecond);
BENCHMARK(fruClient)->Iterations(3)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
