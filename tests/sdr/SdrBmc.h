// SPDX-License-Identifier: Apache-2.0
// A simulated BMC with a repository of the test's own, on node 0 and opened.
#pragma once

#include "base/Log.h"
#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiThresholdSensor.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sim/machine/SdrSensors.h"
#include "sim/machine/SdrWriter.h"
#include "support/ObservedBmc.h"

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <sstream>
#include <utility>
#include <vector>

namespace SdrTest
{

using Sim::Bytes;
using Faults = std::vector<Sim::FaultRule>;
using Lines = std::vector<Support::LogLine>;
using Priorities = std::vector<int>;
using Kind = Sim::SensorRecord::Kind;
using Changes = std::map<std::size_t, unsigned>; ///< byte position and value

inline constexpr std::uint8_t kGetInfo = 0x20, kReserve = 0x22, kGetSdr = 0x23;                 ///< Storage
inline constexpr std::uint8_t kGetHysteresis = 0x25, kGetThresholds = 0x27, kGetReading = 0x2d; ///< Sensor/Event
inline constexpr std::uint8_t kBmc = 0x20, kSatellite = 0x2c, kSoftware = 0x41;                 ///< owners of sensors

/// The event log's commands included, which come after all others.
inline constexpr auto netfnOf = [](std::uint8_t cmd) {
    return std::uint8_t(cmd < kGetHysteresis || cmd >= 0x40 ? 0x0a : 0x04);
};

/// Several facts to compare at once, under their names: "result 0, entries 1". Names have blanks between them.
using Facts = std::vector<long>;
inline std::string facts(const std::string& names, const Facts& all)
{
    std::istringstream words(names);
    std::string text;
    for (const long fact : all) {
        std::string name;
        words >> name;
        text += (text.empty() ? "" : ", ") + name + ' ' + std::to_string(fact);
    }
    return text;
}
template <typename... Fact> std::string facts(const std::string& names, Fact... all)
{
    return facts(names, Facts{static_cast<long>(all)...});
}

// --- records

/// `record` with some bytes changed.
inline Bytes patched(Bytes record, const Changes& changes)
{
    for (const auto& [offset, value] : changes)
        record.at(offset) = static_cast<std::uint8_t>(value);
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

inline constexpr std::uint8_t kFull = 1, kCompact = 2, kEventOnly = 3;

/// Zeros, a kind, and the bytes that matter, which may be beyond the record's end.
inline Bytes zeroRecord(std::uint8_t type, const Changes& changes = {}, std::size_t length = 48)
{
    Bytes record = patched(patched(Bytes(48), {{3, type}}), changes);
    record.resize(length);
    return record;
}

/// The record with the identifier `id` behind a type/length byte (8-bit text unless given) at the kind's place.
inline Bytes withId(Bytes record, const std::string& id, int typeLength = -1)
{
    static constexpr std::size_t kIdCode[] = {0, 47, 31, 16};
    record.resize(kIdCode[record[3]]);
    record.push_back(static_cast<std::uint8_t>(typeLength < 0 ? 0xc0 | id.size() : static_cast<unsigned>(typeLength)));
    record.insert(record.end(), id.begin(), id.end());
    record[4] = static_cast<std::uint8_t>(record.size() - 5);
    return record;
}

template <typename Kind> Kind sensor(const Bytes& record, int node = 0)
{
    return Kind(static_cast<int>(record.size()), record.data(), node);
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

/// Request `nth` and the `count` - 1 after it go wrong, or each every-th of them; 0: all from there on.
inline Sim::FaultRule fault(std::uint8_t cmd, std::uint64_t nth, std::uint64_t count, Sim::FaultAction action,
                            std::uint64_t every = 1)
{
    return {
        .netfn = netfnOf(cmd), .cmd = cmd, .from = nth, .every = every, .count = count, .action = std::move(action)};
}
inline Sim::FaultRule sdr(std::uint64_t nth, std::uint64_t count, Sim::FaultAction action, std::uint64_t every = 1)
{
    return fault(kGetSdr, nth, count, std::move(action), every);
}
inline constexpr auto code = [](std::uint8_t value) { return Sim::FaultAction{.completionCode = value}; };
inline constexpr auto cut = [](std::size_t bytes) { return Sim::FaultAction{.cutTo = bytes}; };
inline constexpr auto lengthened = [](std::size_t bytes) { return Sim::FaultAction{.lengthenTo = bytes}; };
inline const Sim::FaultAction kSilence{.noAnswer = true}, kLost{.lostReservation = true};
/// What goes wrong, and what is seen then.
struct Case {
    const char* name;
    Faults faults;
    Facts facts;
    int complaint = 0; ///< priority of the only one
};
/// A record whose next id is that of record 2: a circle, from there.
inline const Sim::FaultAction kToSecond{.changed = {{1, 2}, {2, 0}}};
/// Node 0, opened on a BMC.
struct SdrBmc : Support::ObservedBmc {
    explicit SdrBmc(Sim::Machine machine, Faults faults = {}) : ObservedBmc(std::move(machine))
    {
        EXPECT_GE(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        EXPECT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
        restart(std::move(faults));
    }
    explicit SdrBmc(std::vector<Bytes> records) : SdrBmc(machineOf(std::move(records))) {}
    ~SdrBmc() override { Ipmi::IpmiIfcCloseForCLI(0); }

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
    /// Of these lines.
    Priorities priorities()
    {
        Priorities all;
        for (const auto& complaint : complaints())
            all.push_back(complaint.priority);
        return all;
    }
    /// Of records read: offset and size of each piece, "/" where that is without reservation; "R" for a reservation.
    std::string pieces(std::uint8_t reserve, std::uint8_t read) const
    {
        std::string text;
        for (const Sim::Request& request : bmc.log())
            if (request.cmd == reserve)
                text += "R ";
            else if (request.cmd == read)
                text += std::to_string(request.data.at(4)) + '+' + std::to_string(request.data.at(5)) +
                        (request.data[0] + request.data[1] == 0 ? "/ " : " ");
        return text;
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
