// SPDX-License-Identifier: Apache-2.0
// The control's verbs for events and their log.
#include "sim/control/EventControl.h"

#include "sim/bmc/SensorEvents.h"
#include "sim/control/NamedSensor.h"
#include "sim/machine/SelLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

using nlohmann::json;

constexpr std::int64_t kMostEvents = 65'535;
constexpr std::size_t kMostData = 2; ///< event data 2 and 3
constexpr std::uint8_t kThresholdEvents = 0x01;

/// Bytes that somebody has given for event data 2 and 3; event data 1 tells what they are (IPMI 2.0, 29.7).
void putData(SelRecord& record, const NamedSensor& sensor, const Bytes& data)
{
    constexpr std::uint8_t kSensorSpecific = 0x6f;
    constexpr std::array<unsigned, kMostData> kCodes{0xc0, 0x30}, kOem{0x80, 0x20};
    unsigned codes = record[SelLayout::kData];
    for (std::size_t i = 0; i < data.size(); ++i) {
        record[SelLayout::kData + 1 + i] = data[i];
        if (sensor.eventType != kThresholdEvents)
            codes |= sensor.eventType == kSensorSpecific ? kCodes[i] : kOem[i];
    }
    record[SelLayout::kData] = static_cast<std::uint8_t>(codes);
}

SelRecord sensorEvent(Bmc& bmc, JsonObject& request)
{
    const Machine machine = bmc.machine();
    const NamedSensor named = findEventSource(machine, request.text("sensor"));
    Sensor eventOnly;
    eventOnly.key = named.key;
    eventOnly.type = named.type;
    eventOnly.eventType = named.eventType;
    const Sensor* sensor = machine.find(named.key);
    const auto offset = static_cast<std::uint8_t>(request.integer("offset", 0, 15));
    SelRecord record = recordOf(sensor == nullptr ? eventOnly : *sensor, {offset, !request.flag("deassert", false)},
                                machine.channelOf(named.key.owner));
    if (named.eventType == kThresholdEvents)
        record[SelLayout::kData + 1] = record[SelLayout::kData + 2]; // a reading that has just got there
    putData(record, named, request.bytes("data", 1, kMostData));
    return record;
}

SelRecord rawRecord(JsonObject& request)
{
    const Bytes bytes = request.bytes("raw", kSelRecordSize, kSelRecordSize);
    SelRecord record{};
    std::copy_n(bytes.begin(), record.size(), record.begin());
    return record;
}

std::string hexOf(const SelRecord& record)
{
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : record)
        text += {kDigits[byte >> 4], kDigits[byte & 0x0f], ' '};
    text.pop_back();
    return text;
}

} // namespace

json addEvents(Bmc& bmc, JsonObject& request)
{
    const bool raw = request.has("raw");
    if (raw == request.has("sensor"))
        request.fail("needs one of \"sensor\" and \"raw\"");
    const SelRecord record = raw ? rawRecord(request) : sensorEvent(bmc, request);
    const std::int64_t count = request.integer("count", 1, kMostEvents, 1);
    request.finish();
    const auto state = bmc.state();
    std::int64_t logged = 0;
    std::uint16_t last = 0;
    for (std::int64_t i = 0; i < count; ++i) {
        const std::uint16_t id = raw ? state->log.add(record) : state->raiseEvent(record);
        logged += id != 0 ? 1 : 0;
        last = id != 0 ? id : last;
    }
    return {{"logged", logged}, {"last_id", last}};
}

json eventLog(Bmc& bmc, JsonObject& request)
{
    const bool clear = request.flag("clear", false), hasTime = request.has("time");
    const auto time = static_cast<std::uint32_t>(request.integer("time", 0, 0xffffffff, 0));
    request.finish();
    const auto state = bmc.state();
    if (clear)
        state->log.clear();
    if (hasTime)
        state->clock.set(time);
    const Machine& machine = state->machine;
    json records = json::array();
    for (const SelRecord& record : machine.sel)
        records.push_back(hexOf(record));
    return {{"records", std::move(records)},
            {"capacity", machine.selCapacity},
            {"overflow", machine.selOverflow},
            {"time", state->now()}};
}

} // namespace Sim
