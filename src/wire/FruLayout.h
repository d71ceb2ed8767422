// SPDX-License-Identifier: Apache-2.0
// Byte positions in a FRU's inventory: IPMI Platform Management FRU Information Storage Definition, sections 8 to 18.
#pragma once

#include "wire/Bits.h"

#include <cstddef>
#include <cstdint>

namespace Ipmi::wire::fru
{

/// Offsets and lengths of areas count units of as many bytes; a device has at most so many bytes.
inline constexpr unsigned int kUnit = 8, kMostBytes = 0x10000;

/// The common header: a format version, then the offset of each area (0: there is none).
inline constexpr std::size_t kHeaderVersion = 0, kInternalOffset = 1, kChassisOffset = 2, kBoardOffset = 3,
                             kProductOffset = 4, kMultiOffset = 5, kHeaderSize = 8;
inline constexpr std::uint8_t kFormatVersion = 1;

/// Chassis, board and product: format version and length, then what is fixed, then fields.
inline constexpr unsigned int kVersion = 0, kLength = 1, kLanguage = 2;
inline constexpr unsigned int kChassisType = 2, kChassisFields = 3;
inline constexpr unsigned int kBoardMinutes = 3, kBoardFields = 6;
inline constexpr unsigned int kProductFields = 3;
static_assert(kBoardMinutes + 3 == kBoardFields);

constexpr bool isKnownVersion(unsigned int version)
{
    return bits(version, 3, 0) == kFormatVersion;
}

/// In the place of a field's type/length byte: there are no more.
inline constexpr std::uint8_t kEndOfFields = 0xc1;
enum FieldType : unsigned int { kBinaryField, kBcdPlusField, kSixBitField, kTextField };

constexpr unsigned int fieldType(std::uint8_t typeLength)
{
    return bits(typeLength, 7, 6);
}
constexpr unsigned int fieldLength(std::uint8_t typeLength)
{
    return bits(typeLength, 5, 0);
}
static_assert(fieldType(kEndOfFields) == kTextField && fieldLength(kEndOfFields) == 1);

/// 1996-01-01T00:00:00Z in seconds since 1970, from which minutes of manufacturing dates count.
inline constexpr std::int64_t kEpoch = 820454400;

/// Language codes of English: the default, and that of the list.
constexpr bool isEnglish(unsigned int language)
{
    return language == 0 || language == 25;
}

/// The header of a record of the multi-record area. The first checksum is of the data, the second of the header.
inline constexpr unsigned int kRecordType = 0, kRecordFlags = 1, kRecordLength = 2, kRecordChecksum = 3,
                              kRecordHeaderSize = 5;
inline constexpr unsigned int kEndOfList = 7; ///< the flags' bit

enum RecordType : std::uint8_t {
    kPowerSupply = 0x00,
    kDcOutput = 0x01,
    kDcLoad = 0x02,
    kManagementAccess = 0x03,
    kBaseCompatibility = 0x04,
    kExtendedCompatibility = 0x05,
    kFirstOem = 0xc0,
};

namespace supply
{
inline constexpr std::uint8_t kCapacity = 0, kPeakVa = 2, kInrushCurrent = 4, kInrushInterval = 5, kLowVoltage1 = 6,
                              kHighVoltage1 = 8, kLowVoltage2 = 10, kHighVoltage2 = 12, kLowFrequency = 14,
                              kHighFrequency = 15, kDropout = 16, kFlags = 17, kPeak = 18, kCombinedVoltages = 20,
                              kCombinedWattage = 21, kTachometer = 23, kSize = 24;
static_assert(kPeak + 2 == kCombinedVoltages && kCombinedWattage + 2 == kTachometer && kTachometer + 1 == kSize);
/// Bits of the flags. The first is pulses per rotation with a tachometer, else the polarity of the pin.
inline constexpr unsigned int kPulsesOrPolarity = 4, kHotSwap = 3, kAutoswitch = 2, kPowerFactor = 1,
                              kPredictiveFail = 0;
} // namespace supply

/// DC outputs and DC loads: the two voltages are deviations of an output, and bounds of a load.
namespace dc
{
inline constexpr std::uint8_t kOutput = 0, kNominal = 1, kLowVoltage = 3, kHighVoltage = 5, kRipple = 7,
                              kLowCurrent = 9, kHighCurrent = 11, kSize = 13;
static_assert(kHighCurrent + 2 == kSize);
inline constexpr unsigned int kStandby = 7; ///< bit of an output
} // namespace dc

/// Base and extended compatibility; OEM records have the manufacturer alone, and what is their own.
namespace compatibility
{
inline constexpr std::uint8_t kManufacturer = 0, kEntity = 3, kBase = 4, kStart = 5, kMask = 6;
} // namespace compatibility

} // namespace Ipmi::wire::fru
