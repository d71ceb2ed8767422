// SPDX-License-Identifier: Apache-2.0
// Multi-records of a machine file: volts, amperes and watts into the steps that the records count in.
#include "sim/machine/FruRecordFile.h"

#include "sim/machine/TextEncoding.h"

#include <array>
#include <cmath>
#include <limits>
#include <stdexcept>

namespace Sim
{

namespace
{

enum Type : std::uint8_t { kPowerSupply = 0, kDcOutput = 1, kDcLoad = 2, kManagementAccess = 3, kFirstOem = 0xc0 };

constexpr Name kTypes[] = {{"power supply", kPowerSupply},
                           {"dc output", kDcOutput},
                           {"dc load", kDcLoad},
                           {"management access", kManagementAccess},
                           {"base compatibility", 4},
                           {"extended compatibility", 5},
                           {"oem", kFirstOem}};

constexpr Name kAccessTypes[] = {{"system url", 1},     {"system name", 2},    {"system ping", 3}, {"component url", 4},
                                 {"component name", 5}, {"component ping", 6}, {"system id", 7}};

constexpr double kTenMillivolts = 0.01, kMilli = 0.001;
constexpr std::size_t kLongestData = 255, kManufacturerSize = 3;

/// A value in steps as 16 bits.
template <typename Word> void putSteps(JsonObject& json, Bytes& data, const char* name, double value, double step)
{
    const double steps = std::round(value / step);
    if (steps < std::numeric_limits<Word>::min() || steps > std::numeric_limits<Word>::max())
        json.fail(name, "is out of the record's range");
    putWord(data, static_cast<unsigned>(static_cast<Word>(steps)));
}

/// The lower and the higher end of a range; 0 and 0 when the field is not there.
std::array<double, 2> parseRange(JsonObject& json, const char* name)
{
    std::array<double, 2> ends{};
    if (!json.has(name))
        return ends;
    const auto elements = json.elements(name, ends.size());
    for (std::size_t i = 0; i < ends.size(); ++i) {
        if (elements.size() != ends.size() || !elements[i].first->is_number())
            json.fail(name, "must be two numbers: [low, high]");
        ends[i] = elements[i].first->get<double>();
    }
    return ends;
}

template <typename Word> void putRange(JsonObject& json, Bytes& data, const char* name, double step)
{
    for (const double end : parseRange(json, name))
        putSteps<Word>(json, data, name, end, step);
}

std::uint16_t watts(JsonObject& json, const char* name)
{
    return static_cast<std::uint16_t>(json.integer(name, 0, 0xfff, 0));
}

Bytes powerSupply(JsonObject& json)
{
    constexpr std::uint16_t kNoPeak = 0xffff;
    constexpr std::uint8_t kNoInrush = 0xff;
    Bytes data;
    putWord(data, watts(json, "capacity_w"));
    putWord(data, json.word("peak_va", kNoPeak));
    putBytes(data, Bytes{json.byte("inrush_a", kNoInrush), json.byte("inrush_ms", 0)});
    putRange<std::uint16_t>(json, data, "input_1_v", kTenMillivolts);
    putRange<std::uint16_t>(json, data, "input_2_v", kTenMillivolts);
    Bytes hertz;
    putRange<std::uint8_t>(json, hertz, "input_hz", 1);
    putBytes(data, Bytes{hertz[0], hertz[2], json.byte("dropout_ms", 0), json.byte("flags", 0)});
    putWord(data, static_cast<unsigned>(json.integer("hold_up_s", 0, 15, 0)) << 12 | watts(json, "peak_w"));
    data.push_back(json.byte("combined", 0));
    putWord(data, json.word("combined_w", 0));
    data.push_back(json.byte("tachometer_rps", 0));
    return data;
}

void putOutput(JsonObject& json, Bytes& data, bool mayStandBy)
{
    const bool standby = mayStandBy && json.flag("standby", false);
    data.push_back(static_cast<std::uint8_t>((standby ? 0x80 : 0) | json.integer("output", 0, 15)));
    putSteps<std::int16_t>(json, data, "nominal_v", json.number("nominal_v"), kTenMillivolts);
}

void putRippleAndCurrent(JsonObject& json, Bytes& data)
{
    putWord(data, json.word("ripple_mv", 0));
    putRange<std::uint16_t>(json, data, "current_a", kMilli);
}

Bytes dcOutput(JsonObject& json)
{
    Bytes data;
    putOutput(json, data, true);
    putRange<std::int16_t>(json, data, "deviation_v", kTenMillivolts);
    putRippleAndCurrent(json, data);
    return data;
}

Bytes dcLoad(JsonObject& json)
{
    Bytes data;
    putOutput(json, data, false);
    putRange<std::int16_t>(json, data, "range_v", kTenMillivolts);
    putRippleAndCurrent(json, data);
    return data;
}

Bytes managementAccess(JsonObject& json)
{
    Bytes data{json.named("access", kAccessTypes, std::nullopt)};
    try {
        putBytes(data, encodeText(json.text("text"), IdEncoding::latin1));
    } catch (const std::invalid_argument& error) {
        json.fail("text", error.what());
    }
    return data;
}

/// Bytes as they are, a manufacturer's number before them where one is given; OEM records begin with one.
Bytes plainData(JsonObject& json, std::uint8_t type)
{
    Bytes data;
    if (json.has("manufacturer") || (type >= kFirstOem && !json.has("data"))) {
        const auto number = static_cast<unsigned>(json.integer("manufacturer", 0, 0xffffff));
        putWord(data, number & 0xffff);
        data.push_back(static_cast<std::uint8_t>(number >> 16));
    }
    putBytes(data, json.bytes("data", 0, kLongestData - kManufacturerSize));
    return data;
}

Bytes parseData(JsonObject& json, std::uint8_t type)
{
    constexpr std::array<Bytes (*)(JsonObject&), 4> kParsers{powerSupply, dcOutput, dcLoad, managementAccess};
    return type < kParsers.size() && !json.has("data") ? kParsers[type](json) : plainData(json, type);
}

} // namespace

bool parseWrong(JsonObject& json, const char* name)
{
    if (!json.has(name))
        return false;
    const std::string how = json.text(name);
    if (how != "wrong" && how != "right")
        json.fail(name, "must be \"right\" or \"wrong\"");
    return how == "wrong";
}

FruRecord parseFruRecord(JsonObject json)
{
    FruRecord record;
    record.type = json.named("type", kTypes, std::nullopt);
    record.data = parseData(json, record.type);
    record.wrongChecksum = parseWrong(json, "checksum");
    record.wrongHeaderChecksum = parseWrong(json, "header_checksum");
    json.finish();
    return record;
}

} // namespace Sim
