// A simulated BMC with a repository of the test's own, on node 0 and opened.
#pragma once

#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sim/Bmc.h"
#include "sim/SdrSensors.h"
#include "sim/SdrWriter.h"
#include "support/SimNode.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace SdrTest
{

using Sim::Bytes;
using Support::LogLine;
using Lines = std::vector<LogLine>;
using Kind = Sim::SensorRecord::Kind;

inline constexpr std::uint8_t kStorage = 0x0a, kGetInfo = 0x20, kReserve = 0x22, kGetSdr = 0x23;
inline constexpr std::uint8_t kSensor = 0x04, kGetHysteresis = 0x25, kGetThresholds = 0x27, kGetReading = 0x2d;

inline Sim::Machine machineOf(std::vector<Bytes> records)
{
    Sim::Machine machine;
    machine.sdr = std::move(records);
    machine.sensors = Sim::sensorsOf(machine.sdr);
    return machine;
}

/// A record of `size` bytes, header included, that count up from its id.
inline Bytes plainRecord(std::uint16_t id, std::size_t size = 16, std::uint8_t type = 0xc0)
{
    Bytes body(size - 5);
    for (std::size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<std::uint8_t>(id + i);
    return Sim::writeRecord(id, type, body);
}

inline std::vector<Bytes> plainRecords(int count)
{
    std::vector<Bytes> records;
    for (int i = 1; i <= count; ++i)
        records.push_back(plainRecord(static_cast<std::uint16_t>(i)));
    return records;
}

/// `record` with some bytes changed.
inline Bytes patched(Bytes record, const std::vector<std::pair<std::size_t, std::uint8_t>>& changes)
{
    for (const auto& [offset, value] : changes)
        record.at(offset) = value;
    return record;
}

/// Request `nth` and the `count` - 1 after it go wrong; 0: all from there on.
inline Sim::FaultRule fault(std::uint8_t cmd, std::uint64_t nth, std::uint64_t count, Sim::FaultAction action)
{
    return {.netfn = cmd < kGetHysteresis ? kStorage : kSensor,
            .cmd = cmd,
            .from = nth,
            .count = count,
            .action = std::move(action)};
}
inline Sim::FaultAction code(std::uint8_t completionCode)
{
    return {.completionCode = completionCode};
}
inline Sim::FaultAction cut(std::size_t bytes)
{
    return {.cutTo = bytes};
}
inline Sim::FaultAction lengthened(std::size_t bytes)
{
    return {.lengthenTo = bytes};
}
inline const Sim::FaultAction kSilence{.noAnswer = true};
inline const Sim::FaultAction kLost{.lostReservation = true};

/// Node 0, opened on a BMC, its requests logged.
struct SdrBmc {
    Sim::Bmc bmc;
    Support::SimNode sim;

    explicit SdrBmc(Sim::Machine machine, std::vector<Sim::FaultRule> faults = {},
                    Support::SimNode::Serve serve = Support::SimNode::Serve::atOnce)
        : bmc(std::move(machine)), sim(bmc, 0, serve)
    {
        EXPECT_GE(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        EXPECT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
        restart(std::move(faults));
    }
    explicit SdrBmc(std::vector<Bytes> records, std::vector<Sim::FaultRule> faults = {})
        : SdrBmc(machineOf(std::move(records)), std::move(faults))
    {
    }
    ~SdrBmc() { Ipmi::IpmiIfcCloseForCLI(0); }

    /// Other faults; logs and counts begin anew.
    void restart(std::vector<Sim::FaultRule> faults)
    {
        bmc.setFaults(Sim::FaultPlan(std::move(faults)));
        bmc.clearCounts();
        bmc.keepLog(true);
        sim.log().clear();
    }
    std::uint64_t storage(std::uint8_t cmd) const { return bmc.count(kStorage, cmd); }
    std::uint64_t sensor(std::uint8_t cmd) const { return bmc.count(kSensor, cmd); }
    /// Warnings and errors logged above the transport.
    Lines complaints()
    {
        Lines lines = sim.log().complaints();
        std::erase_if(lines, [](const LogLine& line) { return line.text.starts_with("Node "); });
        return lines;
    }
    std::size_t sleeps() { return sim.clock().sleeps().size(); }

    /// The repository after a load; the test's threads are at rest.
    const Ipmi::SdrRepository& repository() TRX_NO_THREAD_SAFETY_ANALYSIS { return Ipmi::g_IpmiNode[0].repository; }
};

/// Number of entries in a list.
inline std::size_t sizeOf(const Ipmi::ipmiifc_sdr_list* list)
{
    std::size_t count = 0;
    for (; list; list = list->next)
        ++count;
    return count;
}

} // namespace SdrTest
