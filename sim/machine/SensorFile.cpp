// SPDX-License-Identifier: Apache-2.0
// A sensor's fields in a machine file, values converted by its own factors.
#include "sim/machine/SensorFile.h"

#include "sim/machine/Names.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace Sim
{

namespace
{

constexpr std::uint8_t kThresholdEvents = 0x01;
constexpr std::size_t kMostShares = 15;

/// A number in the sensor's unit as a raw byte.
std::uint8_t rawOf(const SensorRecord& record, const nlohmann::json& value, const JsonObject& json, const char* name)
{
    if (!value.is_number())
        json.fail(name, "must be a number in the sensor's unit");
    return record.scale.nearestRaw(value.get<double>());
}

void parseScale(JsonObject& json, SensorRecord& r)
{
    const bool analog = r.eventType == kThresholdEvents;
    r.scale.format = static_cast<RawFormat>(json.named("format", formatNames(), analog ? 0 : 3, 3));
    r.scale.linearization = json.named("linearization", linearizationNames(), 0, 0x7f);
    r.scale.m = static_cast<int>(json.integer("m", -512, 511, 1));
    r.scale.b = static_cast<int>(json.integer("b", -512, 511, 0));
    r.scale.bExponent = static_cast<int>(json.integer("b_exponent", -8, 7, 0));
    r.scale.resultExponent = static_cast<int>(json.integer("exponent", -8, 7, 0));
    r.tolerance = static_cast<unsigned>(json.integer("tolerance", 0, 63, 0));
    r.accuracy = static_cast<unsigned>(json.integer("accuracy", 0, 1023, 0));
    r.accuracyExponent = static_cast<unsigned>(json.integer("accuracy_exponent", 0, 3, 0));
}

void parseUnits(JsonObject& json, SensorRecord& r)
{
    const unsigned rate = json.named("rate", rateNames(), 0, 7);
    const unsigned use = json.named("modifier_use", modifierUseNames(), 0, 3);
    r.units[0] = static_cast<std::uint8_t>(rate << 3 | use << 1 | (json.flag("percent", false) ? 1U : 0U));
    r.units[1] = json.named("unit", unitNames(), 0);
    r.units[2] = json.named("modifier_unit", unitNames(), 0);
}

void parseNominal(JsonObject& json, SensorRecord& r)
{
    constexpr std::array<const char*, 5> kNames{"nominal", "normal_max", "normal_min", "max", "min"};
    constexpr std::size_t kInFlags = 3; // the last two are always meant
    const bool isSigned = r.scale.format == RawFormat::twosComplement || r.scale.format == RawFormat::onesComplement;
    r.nominal = {0, 0, 0, static_cast<std::uint8_t>(isSigned ? 0x7f : 0xff),
                 static_cast<std::uint8_t>(isSigned ? 0x80 : 0x00)};
    for (std::size_t i = 0; i < kNames.size(); ++i) {
        const nlohmann::json* value = json.value(kNames[i]);
        if (value == nullptr)
            continue;
        r.nominal[i] = rawOf(r, *value, json, kNames[i]);
        if (i < kInFlags)
            r.analogFlags = static_cast<std::uint8_t>(r.analogFlags | 1U << i);
    }
}

/// Thresholds in units; returns the mask of those given.
std::uint8_t parseThresholds(JsonObject& json, SensorRecord& r)
{
    std::uint8_t given = 0;
    if (!json.has("thresholds"))
        return given;
    JsonObject values = json.object("thresholds");
    for (const Name& name : thresholdNames()) {
        const nlohmann::json* value = values.value(name.text.data());
        if (value == nullptr)
            continue;
        r.thresholds[name.code] = rawOf(r, *value, values, name.text.data());
        given = static_cast<std::uint8_t>(given | 1U << name.code);
    }
    values.finish();
    return given;
}

std::uint8_t parseMask(JsonObject& json, const char* name, std::uint8_t fallback)
{
    if (!json.has(name))
        return fallback;
    unsigned mask = 0;
    for (const auto& element : json.elements(name, 6)) {
        const nlohmann::json& value = *element.first;
        const auto found = std::find_if(thresholdNames().begin(), thresholdNames().end(), [&](const Name& n) {
            return value.is_string() && n.text == value.get_ref<const std::string&>();
        });
        if (found == thresholdNames().end())
            json.fail(name, "must list some of: lnc, lc, lnr, unc, uc, unr");
        mask |= 1U << found->code;
    }
    return static_cast<std::uint8_t>(mask);
}

/// Events of thresholds: lower ones while going low, upper ones while going high.
std::uint16_t eventsOf(std::uint8_t thresholds)
{
    unsigned events = 0;
    for (unsigned i = 0; i < 6; ++i) {
        if ((thresholds >> i & 1) != 0)
            events |= 1U << (2 * i + (i < 3 ? 0 : 1));
    }
    return static_cast<std::uint16_t>(events);
}

void parseHysteresis(JsonObject& json, SensorRecord& r)
{
    const auto values = json.elements("hysteresis", 2);
    if (!values.empty() && values.size() != 2)
        json.fail("hysteresis", "must be two raw numbers: positive, negative");
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (!values[i].first->is_number_unsigned() || values[i].first->get<std::uint64_t>() > 0xff)
            json.fail("hysteresis", "must be raw numbers from 0 to 255");
        r.hysteresis[i] = static_cast<std::uint8_t>(values[i].first->get<std::uint64_t>());
    }
}

void parseThresholdMasks(JsonObject& json, SensorRecord& r)
{
    const std::uint8_t given = parseThresholds(json, r);
    parseHysteresis(json, r);
    const std::uint8_t readable = parseMask(json, "readable", given), settable = parseMask(json, "settable", readable);
    const unsigned access = json.named("access", accessNames(), readable == 0 ? 0 : 2, 3);
    const unsigned hysteresis =
        json.named("hysteresis_access", accessNames(), r.hysteresis == std::array<std::uint8_t, 2>{} ? 0 : 2, 3);
    r.capabilities = static_cast<std::uint8_t>(0x40 | hysteresis << 4 | access << 2); // re-arms by itself
    const unsigned lowerComparisons = (readable & 7U) << 12, upperComparisons = (readable >> 3 & 7U) << 12;
    r.masks[0] = json.word("assertions", static_cast<std::uint16_t>(eventsOf(given) | lowerComparisons));
    r.masks[1] = json.word("deassertions", static_cast<std::uint16_t>(eventsOf(given) | upperComparisons));
    r.masks[2] = static_cast<std::uint16_t>(readable | settable << 8);
}

void parseDiscreteMasks(JsonObject& json, SensorRecord& r)
{
    r.capabilities = 0x40;
    r.masks[0] = json.word("assertions", 0x0001);
    r.masks[1] = json.word("deassertions", r.masks[0]);
    r.masks[2] = json.word("reading_mask", r.masks[0]);
}

void parseShare(JsonObject& json, SensorRecord& r)
{
    if (!json.has("share"))
        return;
    JsonObject share = json.object("share");
    r.share.count = static_cast<unsigned>(share.integer("count", 1, kMostShares));
    r.share.alphabetic = share.flag("alphabetic", false);
    r.share.offset = static_cast<unsigned>(share.integer("offset", 0, 127, 0));
    r.share.entityInstances = share.flag("entity_instances", false);
    share.finish();
}

void parseKey(JsonObject& json, SensorRecord& r)
{
    r.key = {json.byte("owner", kBmcAddress), static_cast<std::uint8_t>(json.integer("lun", 0, 3, 0)),
             json.byte("number")};
    r.channel = static_cast<std::uint8_t>(json.integer("channel", 0, 15, 0));
    r.entityId = json.byte("entity");
    r.entityInstance = json.byte("instance", 1);
    r.type = json.named("type", sensorTypeNames(), std::nullopt);
    const bool full = r.kind == SensorRecord::Kind::full;
    r.eventType = json.byte("event_type", full ? std::optional<std::uint8_t>(kThresholdEvents) : std::nullopt);
    r.direction = static_cast<std::uint8_t>(json.integer("direction", 0, 3, 0));
    r.oem = json.byte("oem", 0);
    r.id = parseIdString(json);
}

/// A reading that moves: {"ramp": [low, high], "period": n}, likewise "sine" and "noise" with "seed".
RawSource parseMovement(JsonObject json, const SensorRecord& r)
{
    constexpr std::array<std::pair<const char*, RawSource::Kind>, 3> kKinds{{
        {"ramp", RawSource::Kind::ramp},
        {"sine", RawSource::Kind::sine},
        {"noise", RawSource::Kind::noise},
    }};
    const auto kind = std::find_if(kKinds.begin(), kKinds.end(), [&](auto& k) { return json.has(k.first); });
    if (kind == kKinds.end())
        json.fail("must have \"ramp\", \"sine\" or \"noise\"");
    const auto ends = json.elements(kind->first, 2);
    if (ends.size() != 2)
        json.fail(kind->first, "must be two numbers in the sensor's unit");
    RawSource source{.kind = kind->second};
    Sensor sensor; // orders raw bytes as the format says
    sensor.format = r.scale.format;
    const int one = sensor.ordered(rawOf(r, *ends[0].first, json, kind->first));
    const int other = sensor.ordered(rawOf(r, *ends[1].first, json, kind->first));
    source.low = std::min(one, other);
    source.high = std::max(one, other);
    source.period = static_cast<std::uint32_t>(json.integer("period", 1, 1'000'000, 16));
    source.seed = static_cast<std::uint32_t>(json.integer("seed", 0, 0xffffffff, 1));
    json.finish();
    return source;
}

RawSource parseValue(const nlohmann::json& value, const std::string& place, const SensorRecord& r)
{
    if (value.is_object())
        return parseMovement(JsonObject(value, place), r);
    if (!value.is_number())
        throw BadFile(place + ": must be a number in the sensor's unit or {\"ramp\": [low, high]}");
    return RawSource::constant(r.scale.nearestRaw(value.get<double>()));
}

SensorReading parseReading(JsonObject& json, const SensorRecord& r)
{
    SensorReading reading;
    if (const nlohmann::json* value = json.value("value"))
        reading.raw = parseValue(*value, json.place() + ".value", r);
    if (json.has("raw"))
        reading.raw = RawSource::constant(json.byte("raw"));
    if (json.has("states"))
        reading.states = static_cast<std::uint16_t>(json.integer("states", 0, 0x7fff));
    reading.unavailable = json.flag("unavailable", false);
    if (json.has("flags"))
        reading.flags = json.byte("flags");
    return reading;
}

void parseReadings(JsonObject& json, SensorDescription& description)
{
    description.readings.push_back(parseReading(json, description.record));
    if (!json.has("shared_readings"))
        return;
    description.readings.clear();
    for (JsonObject& one : json.objects("shared_readings", kMostShares)) {
        description.readings.push_back(parseReading(one, description.record));
        one.finish();
    }
}

} // namespace

Bytes parseIdString(JsonObject& json)
{
    const std::string name = json.text("name");
    const auto encoding = static_cast<IdEncoding>(json.named("encoding", encodingNames(), 3, 3));
    try {
        return encodeIdString(name, encoding);
    } catch (const std::invalid_argument& error) {
        json.fail("name", error.what());
    }
}

SensorDescription parseSensor(JsonObject& json, SensorRecord::Kind kind)
{
    SensorDescription description;
    SensorRecord& r = description.record;
    r.kind = kind;
    parseKey(json, r);
    if (kind != SensorRecord::Kind::full)
        parseShare(json, r);
    if (kind == SensorRecord::Kind::full) {
        parseScale(json, r);
        parseNominal(json, r);
    }
    if (kind != SensorRecord::Kind::eventOnly) {
        parseUnits(json, r);
        if (r.eventType == kThresholdEvents)
            parseThresholdMasks(json, r);
        else
            parseDiscreteMasks(json, r);
        r.init = json.byte("init", 0x7f);
        r.capabilities = json.byte("capabilities", r.capabilities);
        parseReadings(json, description);
    }
    json.finish();
    return description;
}

} // namespace Sim
