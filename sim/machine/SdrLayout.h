// SPDX-License-Identifier: Apache-2.0
// Byte positions inside sensor data records, counted from 0: IPMI 2.0, Sensor Data Record Formats.
#pragma once

#include "sim/bus/Bytes.h"

#include <algorithm>

namespace Sim::SdrLayout
{

/// Records in a repository: their ids end before FFFFh.
inline constexpr std::size_t kMostRecords = 0xfffe;

inline constexpr std::size_t kId = 0, kVersion = 2, kType = 3, kLength = 4, kHeaderSize = 5;

inline constexpr std::uint8_t kFullType = 0x01, kCompactType = 0x02, kEventOnlyType = 0x03, kEntityType = 0x08,
                              kDeviceEntityType = 0x09, kGenericLocatorType = 0x10, kFruLocatorType = 0x11,
                              kMcLocatorType = 0x12, kOemType = 0xc0;

// Full, compact and event-only records.
inline constexpr std::size_t kOwner = 5, kLun = 6, kNumber = 7, kEntityId = 8, kEntityInstance = 9;

// Full and compact records.
inline constexpr std::size_t kInit = 10, kCapabilities = 11, kSensorType = 12, kEventType = 13, kAssertions = 14,
                             kDeassertions = 16, kReadable = 18, kSettable = 19, kUnits = 20;

namespace Full
{
inline constexpr std::size_t kLinearization = 23, kFactors = 24, kFactorsSize = 6, kAnalogFlags = 30, kNominal = 31,
                             kNormalMax = 32, kNormalMin = 33, kSensorMax = 34, kSensorMin = 35, kThresholds = 36,
                             kPositiveHysteresis = 42, kNegativeHysteresis = 43, kOemByte = 46, kIdCode = 47;
static_assert(kFactors + kFactorsSize == kAnalogFlags && kThresholds + 6 == kPositiveHysteresis);
} // namespace Full

namespace Compact
{
inline constexpr std::size_t kShare = 23, kShareOffset = 24, kPositiveHysteresis = 25, kNegativeHysteresis = 26,
                             kOemByte = 30, kIdCode = 31;
}

namespace EventOnly
{
inline constexpr std::size_t kSensorType = 10, kEventType = 11, kShare = 12, kShareOffset = 13, kOemByte = 15,
                             kIdCode = 16;
}

/// Full records store thresholds as UNR UC UNC LNR LC LNC, commands send LNC LC LNR UNC UC UNR: the reverse.
inline constexpr std::size_t thresholdAt(std::size_t wireIndex)
{
    return Full::kThresholds + 5 - wireIndex;
}

/// Number of sensors that one record describes: its share count, at least 1; 0 for records of other kinds.
inline unsigned sensorCount(const Bytes& record)
{
    switch (byteAt(record, kType)) {
    case kFullType:
        return 1;
    case kCompactType:
        return std::max(byteAt(record, Compact::kShare) & 0x0fU, 1U);
    case kEventOnlyType:
        return std::max(byteAt(record, EventOnly::kShare) & 0x0fU, 1U);
    default:
        return 0;
    }
}

} // namespace Sim::SdrLayout
