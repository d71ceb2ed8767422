// Sensor records for tests: zeros, a kind, and the bytes that matter.
#pragma once

#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiThresholdSensor.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Support
{

using Bytes = std::vector<std::uint8_t>;
using Patch = std::map<unsigned int, unsigned int>; ///< byte position to value

inline constexpr std::uint8_t kFull = 1, kCompact = 2, kEventOnly = 3;
inline constexpr std::size_t kWhole = 48;

inline Bytes sensorRecord(std::uint8_t type, const Patch& patch = {}, std::size_t length = kWhole)
{
    Bytes record(std::max(length, kWhole)); // the patch may go beyond a short one's end
    record[3] = type;
    for (const auto& [index, value] : patch)
        record.at(index) = static_cast<std::uint8_t>(value);
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
    return record;
}

template <typename Kind> Kind sensor(const Bytes& record, int node = 0)
{
    return Kind(static_cast<int>(record.size()), record.data(), node);
}

} // namespace Support
