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

#include <functional>
#include <utility>
#include <vector>

namespace SdrTest
{

using Sim::Bytes;
using Faults = std::vector<Sim::FaultRule>;
using Lines = std::vector<Support::LogLine>;
using Kind = Sim::SensorRecord::Kind;
using Changes = std::vector<std::pair<std::size_t, std::uint8_t>>; ///< offset and value

inline constexpr std::uint8_t kGetInfo = 0x20, kReserve = 0x22, kGetSdr = 0x23;                 ///< Storage
inline constexpr std::uint8_t kGetHysteresis = 0x25, kGetThresholds = 0x27, kGetReading = 0x2d; ///< Sensor/Event
inline constexpr std::uint8_t kBmc = 0x20, kSatellite = 0x2c, kSoftware = 0x41;                 ///< owners of sensors

/// The event log's commands included, which come after all others.
inline constexpr auto netfnOf = [](std::uint8_t cmd) {
    return std::uint8_t(cmd < kGetHysteresis || cmd >= 0x40 ? 0x0a : 0x04);
};

// --- records

/// `record` with some bytes changed.
inline Bytes patched(Bytes record, const Changes& changes)
{
    for (const auto& [offset, value] : changes)
        record.at(offset) = value;
    return record;
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

/// Where sensor records have what.
inline constexpr std::size_t kOwnerAt = 5, kLunAt = 6, kNumberAt = 7, kEntityAt = 8, kCapabilitiesAt = 11;

/// Record of sensor 1 of the BMC, with all thresholds.
inline Bytes sensorRecord(Kind kind, std::uint8_t eventType, const Changes& changes = {}, std::uint16_t id = 1)
{
    Sim::SensorRecord record;
    record.kind = kind;
    record.key.number = 1;
    record.entityId = 7;
    record.capabilities = 0x08; // thresholds readable and settable
    record.eventType = eventType;
    record.masks[2] = 0x3f3f;
    record.thresholds = {10, 5, 1, 200, 210, 220};
    record.id = Sim::encodeIdString("Temp", Sim::IdEncoding::latin1);
    return patched(Sim::writeSensorRecord(id, record), changes);
}

inline Sim::Machine machineOf(std::vector<Bytes> records, std::uint8_t version = 0x51)
{
    Sim::Machine machine;
    machine.sdrVersion = version;
    machine.sdr = std::move(records);
    machine.sensors = Sim::sensorsOf(machine.sdr);
    return machine;
}

// --- faults

/// Request `nth` and the `count` - 1 after it go wrong; 0: all from there on.
inline Sim::FaultRule fault(std::uint8_t cmd, std::uint64_t nth, std::uint64_t count, Sim::FaultAction action)
{
    return {.netfn = netfnOf(cmd), .cmd = cmd, .from = nth, .count = count, .action = std::move(action)};
}
inline constexpr auto code = [](std::uint8_t value) { return Sim::FaultAction{.completionCode = value}; };
inline constexpr auto cut = [](std::size_t bytes) { return Sim::FaultAction{.cutTo = bytes}; };
inline constexpr auto lengthened = [](std::size_t bytes) { return Sim::FaultAction{.lengthenTo = bytes}; };
inline const Sim::FaultAction kSilence{.noAnswer = true}, kLost{.lostReservation = true};

/// The one line with this text; none when it is null.
inline Lines line(int priority, const char* text)
{
    return text ? Lines{{priority, text}} : Lines{};
}

/// Node 0, opened on a BMC, its requests logged.
struct SdrBmc : Sim::Responder {
    Sim::Bmc bmc;
    std::function<void(const Sim::Request&)> before{}; ///< called before each request
    Support::SimNode sim;

    explicit SdrBmc(Sim::Machine machine, Faults faults = {})
        : bmc(std::move(machine), [] { return TRX::Clock::get().steadyTime(); }), sim(*this)
    {
        EXPECT_GE(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        EXPECT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
        restart(std::move(faults));
    }
    explicit SdrBmc(std::vector<Bytes> records) : SdrBmc(machineOf(std::move(records))) {}
    ~SdrBmc() override { Ipmi::IpmiIfcCloseForCLI(0); }

    Sim::Answer handle(const Sim::Request& request) override
    {
        if (before)
            before(request);
        return bmc.handle(request);
    }
    Sim::Answer handleMessaging(const Sim::Request& request, const std::function<Bytes()>& carryOut) override
    {
        return bmc.handleMessaging(request, carryOut);
    }
    bool isIpmb(std::uint8_t channel) const override { return bmc.isIpmb(channel); }
    std::optional<Bytes> eventAfter(std::uint64_t& seen) const override { return bmc.eventAfter(seen); }
    bool logsEvents() const override { return bmc.logsEvents(); }
    void setEventLogging(bool on) override { bmc.setEventLogging(on); }

    /// Other faults; logs and counts begin anew.
    void restart(Faults faults = {})
    {
        bmc.setFaults(Sim::FaultPlan(std::move(faults)));
        bmc.clearCounts();
        bmc.keepLog(true);
        sim.log().clear();
    }
    int asked(std::uint8_t cmd) const { return static_cast<int>(bmc.count(netfnOf(cmd), cmd)); }
    /// Warnings and errors logged above the transport.
    Lines complaints()
    {
        Lines lines = sim.log().complaints();
        std::erase_if(lines, [](const auto& line) { return line.text.starts_with("Node "); });
        return lines;
    }
    int debugLines(const char* text) { return sim.log().count(LOG_DEBUG, text); }
    int sleeps() { return static_cast<int>(sim.clock().sleeps().size()); }

    /// The repository, while the test's threads are at rest.
    Ipmi::SdrRepository& repository() TRX_NO_THREAD_SAFETY_ANALYSIS { return Ipmi::g_IpmiNode[0].repository; }
    /// Makes the stored info claim so many records.
    void claim(std::uint16_t records)
    {
        repository().sdr_info.bytes[2] = static_cast<std::uint8_t>(records);
        repository().sdr_info.bytes[3] = static_cast<std::uint8_t>(records >> 8);
    }
};

} // namespace SdrTest
