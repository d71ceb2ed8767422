// SPDX-License-Identifier: Apache-2.0
// The records of a machine file, and the sensors that they make.
#include "sim/machine/SdrFile.h"

#include "sim/machine/Names.h"
#include "sim/machine/SdrLayout.h"
#include "sim/machine/SdrSensors.h"
#include "sim/machine/SensorFile.h"

#include <algorithm>
#include <array>

namespace Sim
{

namespace
{

constexpr std::size_t kLargestBody = 250;

struct Record {
    std::uint8_t type;
    Bytes body;
};

void putEntityAndName(JsonObject& json, Bytes& body)
{
    body.push_back(json.byte("entity"));
    body.push_back(json.byte("instance", 1));
    body.push_back(json.byte("oem", 0));
    putBytes(body, parseIdString(json));
}

Record parseFruLocator(JsonObject& json)
{
    const bool logical = json.flag("logical", true);
    const auto lun = json.integer("lun", 0, 3, 0), bus = json.integer("bus", 0, 7, 0);
    Bytes body{json.byte("address", kBmcAddress), json.byte("device"),
               static_cast<std::uint8_t>((logical ? 0x80 : 0) | lun << 3 | bus),
               static_cast<std::uint8_t>(json.integer("channel", 0, 15, 0) << 4), 0};
    body.push_back(json.byte("device_type", 0x10));
    body.push_back(json.byte("device_modifier", 0));
    putEntityAndName(json, body);
    return {SdrLayout::kFruLocatorType, body};
}

Record parseMcLocator(JsonObject& json)
{
    Bytes body{json.byte("address"),
               static_cast<std::uint8_t>(json.integer("channel", 0, 15, 0)),
               json.byte("power_state", 0),
               json.byte("capabilities", 0xbf),
               0,
               0,
               0};
    putEntityAndName(json, body);
    return {SdrLayout::kMcLocatorType, body};
}

Record parseGenericLocator(JsonObject& json)
{
    const auto channel = static_cast<std::uint8_t>(json.integer("channel", 0, 15, 0));
    Bytes body{json.byte("access_address", kBmcAddress), static_cast<std::uint8_t>(json.byte("address") | channel >> 3),
               static_cast<std::uint8_t>((channel & 7) << 5 | json.integer("lun", 0, 3, 0) << 3 |
                                         json.integer("bus", 0, 7, 0)),
               json.byte("address_span", 0), 0};
    body.push_back(json.byte("device_type"));
    body.push_back(json.byte("device_modifier", 0));
    putEntityAndName(json, body);
    return {SdrLayout::kGenericLocatorType, body};
}

std::uint8_t associationFlags(JsonObject& json)
{
    return static_cast<std::uint8_t>((json.flag("range", false) ? 0x80 : 0) | (json.flag("linked", false) ? 0x40 : 0) |
                                     (json.flag("presence_sensor", true) ? 0x20 : 0));
}

/// Up to four contained entities; unused places stay zero.
Record parseAssociation(JsonObject& json, bool deviceRelative)
{
    Bytes body{json.byte("container"), json.byte("container_instance", 1)};
    if (deviceRelative)
        putBytes(body, Bytes{json.byte("address"), static_cast<std::uint8_t>(json.integer("channel", 0, 15, 0) << 4)});
    body.push_back(associationFlags(json));
    const std::size_t whole = deviceRelative ? 27 : 11;
    for (JsonObject& member : json.objects("members", 4)) {
        if (deviceRelative)
            putBytes(body, Bytes{member.byte("address"),
                                 static_cast<std::uint8_t>(member.integer("channel", 0, 15, 0) << 4)});
        putBytes(body, Bytes{member.byte("entity"), member.byte("instance", 1)});
        member.finish();
    }
    body.resize(whole);
    return {deviceRelative ? SdrLayout::kDeviceEntityType : SdrLayout::kEntityType, body};
}

Record parseOem(JsonObject& json)
{
    const auto manufacturer = static_cast<std::uint32_t>(json.integer("manufacturer", 0, 0xffffff));
    Bytes body;
    putWord(body, manufacturer & 0xffff);
    body.push_back(static_cast<std::uint8_t>(manufacturer >> 16));
    putBytes(body, json.bytes("data", 0, kLargestBody - 3));
    return {SdrLayout::kOemType, body};
}

Record parseRaw(JsonObject& json)
{
    const std::uint8_t type = json.byte("type");
    return {type, json.bytes("data", 0, kLargestBody)};
}

struct OtherKind {
    std::string_view name;
    Record (*parse)(JsonObject& json);
};

constexpr std::array<OtherKind, 7> kOtherKinds{{
    {"fru", parseFruLocator},
    {"controller", parseMcLocator},
    {"device", parseGenericLocator},
    {"association", [](JsonObject& json) { return parseAssociation(json, false); }},
    {"device association", [](JsonObject& json) { return parseAssociation(json, true); }},
    {"oem", parseOem},
    {"raw", parseRaw},
}};

void applyReading(Sensor& sensor, const SensorReading& reading)
{
    if (reading.raw)
        sensor.raw = *reading.raw;
    if (reading.states)
        sensor.states = reading.states;
    if (reading.flags)
        sensor.flags = *reading.flags;
    if (reading.unavailable)
        sensor.flags |= kReadingUnavailable;
}

/// A sensor's record and, for when all sensors are there, its readings.
struct Described {
    SensorDescription description;
    unsigned count;
};

void applyReadings(Machine& machine, const std::vector<Described>& all)
{
    for (const Described& one : all) {
        const auto& readings = one.description.readings;
        for (unsigned i = 0; i < one.count && !readings.empty(); ++i) {
            SensorKey key = one.description.record.key;
            key.number = static_cast<std::uint8_t>(key.number + i);
            if (Sensor* sensor = machine.find(key))
                applyReading(*sensor, readings[std::min<std::size_t>(i, readings.size() - 1)]);
        }
    }
}

bool parseOther(JsonObject& json, const std::string& kind, std::uint16_t id, Machine& machine)
{
    const auto* other =
        std::find_if(kOtherKinds.begin(), kOtherKinds.end(), [&](const OtherKind& k) { return k.name == kind; });
    if (other == kOtherKinds.end())
        return false;
    const Record record = other->parse(json);
    json.finish();
    machine.sdr.push_back(writeRecord(id, record.type, record.body));
    return true;
}

} // namespace

void parseRepository(JsonObject& json, Machine& machine)
{
    std::vector<Described> described;
    std::int64_t id = 0;
    for (JsonObject& one : json.objects("sdr", SdrLayout::kMostRecords)) {
        id = one.integer("record_id", 1, SdrLayout::kMostRecords, id + 1);
        const std::string kind = one.text("kind", "full");
        const auto recordId = static_cast<std::uint16_t>(id);
        if (parseOther(one, kind, recordId, machine))
            continue;
        const auto sensorKind = std::find_if(sensorKindNames().begin(), sensorKindNames().end(),
                                             [&](const Name& n) { return n.text == kind; });
        if (sensorKind == sensorKindNames().end())
            one.fail("kind", "must be one of: full, compact, event-only, fru, controller, device, association, "
                             "device association, oem, raw");
        SensorDescription sensor = parseSensor(one, static_cast<SensorRecord::Kind>(sensorKind->code));
        machine.sdr.push_back(writeSensorRecord(recordId, sensor.record));
        const unsigned count = SdrLayout::sensorCount(machine.sdr.back());
        described.push_back({std::move(sensor), count});
    }
    machine.sensors = sensorsOf(machine.sdr);
    applyReadings(machine, described);
}

} // namespace Sim
