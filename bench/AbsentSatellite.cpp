// SPDX-License-Identifier: Apache-2.0
// What a controller that has gone silent costs those who refresh: commands, and time-outs of the driver.
#include "Scenario.h"
#include "SimDevice.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/bmc/Bmc.h"
#include "sim/machine/SdrSensors.h"
#include "sim/machine/SdrWriter.h"

#include <benchmark/benchmark.h>
#include <chrono>

namespace Bench
{

namespace
{

constexpr std::chrono::milliseconds kTimeout{50}; ///< 10.2 s with the real driver
constexpr std::uint8_t kSatellite = 0x82, kFirstOfSatellite = 20, kSensors = 30;
constexpr int kCycles = 20;

/// Twenty sensors of the BMC, and behind them ten of a satellite.
Sim::Machine machine()
{
    Sim::Machine made;
    for (std::uint8_t number = kSensors; number-- != 0;) { // the library's lists turn the order
        Sim::SensorRecord record;
        record.key = {.owner = number < kFirstOfSatellite ? Sim::kBmcAddress : kSatellite, .number = number};
        record.entityId = 7;
        record.eventType = 0x6f; // no thresholds: one command a sensor
        record.type = 1;
        record.id = Sim::encodeIdString("Sensor " + std::to_string(number), Sim::IdEncoding::latin1);
        made.sdr.push_back(Sim::writeSensorRecord(static_cast<std::uint16_t>(number + 1), record));
    }
    made.sensors = Sim::sensorsOf(made.sdr);
    return made;
}

/// Argument 0: IpmiIfcSensorUpdateReading, as designed for the polling loop; 1: IpmiIfcSensorRefreshAll.
void absentSatellite(benchmark::State& state)
{
    Sim::Bmc bmc(machine());
    SimDevice device(bmc);
    device.waitForSatellites(kTimeout);
    const OpenNode node;
    Ipmi::IpmiIfcSdrGetInfo(0);
    if (Ipmi::IpmiIfc::getSensors(0).size() != kSensors)
        state.SkipWithError("not every sensor was read");
    bmc.setFaults(Sim::FaultPlan({{.address = kSatellite, .action = {.noAnswer = true}}}));
    bmc.clearCounts();
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        for (int cycle = 0; cycle < kCycles; ++cycle)
            state.range(0) == 0 ? Ipmi::IpmiIfcSensorUpdateReading(0) : Ipmi::IpmiIfcSensorRefreshAll(0);
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        state.counters["commands"] = static_cast<double>(bmc.count(0x04, 0x2d) + bmc.count(0x06, 0x01));
        state.counters["timeouts"] = took / kTimeout;
    }
}

BENCHMARK(absentSatellite)->Arg(0)->Arg(1)->Iterations(1)->UseRealTime()->Unit(benchmark::kMillisecond);

} // namespace

} // namespace Bench
