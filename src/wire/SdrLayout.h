// SPDX-License-Identifier: Apache-2.0
// Byte positions in sensor data records, counted from 0 with the header: IPMI 2.0, section 43.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Ipmi::wire::sdr
{

inline constexpr std::uint8_t kFullType = 0x01, kCompactType = 0x02, kEventOnlyType = 0x03, kEntityType = 0x08,
                              kDeviceEntityType = 0x09, kGenericLocatorType = 0x10, kFruLocatorType = 0x11,
                              kMcLocatorType = 0x12, kMcConfirmationType = 0x13, kChannelInfoType = 0x14,
                              kOemType = 0xc0;

// Every record.
inline constexpr std::size_t kId = 0, kVersion = 2, kType = 3, kLength = 4, kHeaderSize = 5;

// Full, compact and event-only records.
inline constexpr std::size_t kOwner = 5, kLun = 6, kNumber = 7, kEntityId = 8, kEntityInstance = 9;
inline constexpr unsigned int kLogicalEntityBit = 7;
inline constexpr std::uint8_t kSoftwareOwner = 0x01; ///< bit of an owner that is system software, not a controller
inline constexpr std::uint8_t kInstanceBits = 0x7f;  ///< of an entity's instance

// Full and compact records.
inline constexpr std::size_t kInitialization = 10, kCapabilities = 11, kSensorType = 12, kEventType = 13,
                             kAssertionMask = 14, kDeassertionMask = 16, kReadingMask = 18, kReadableThresholds = 18,
                             kSettableThresholds = 19, kUnits = 20, kBaseUnit = 21, kModifierUnit = 22;

namespace full
{
inline constexpr std::size_t kLinearization = 23, kM = 24, kTolerance = 25, kB = 26, kAccuracy = 27,
                             kAccuracyExponent = 28, kDirection = 28, kExponents = 29, kAnalogFlags = 30, kNominal = 31,
                             kNormalMax = 32, kNormalMin = 33, kMax = 34, kMin = 35, kIdCode = 47;
static_assert(kM + 2 == kB && kMin + 12 == kIdCode); // thresholds, hysteresis and OEM bytes are between
} // namespace full

namespace compact
{
inline constexpr std::size_t kSharing = 23, kModifierOffset = 24, kIdCode = 31;
}

namespace event_only
{
inline constexpr std::size_t kSensorType = 10, kEventType = 11, kSharing = 12, kModifierOffset = 13, kIdCode = 16;
}

// Records that sensors share: the byte with their number, and the one behind it with the first one's offset.
inline constexpr std::uint8_t kShareCountBits = 0x0f, kModifierBits = 0x7f, kInstanceIncrements = 0x80;
static_assert(compact::kModifierOffset == compact::kSharing + 1 &&
              event_only::kModifierOffset == event_only::kSharing + 1);

/// Entity association records: the container, flags, and four members or two ranges of them (tables 43-4 and 43-5).
struct AssociationLayout {
    std::size_t flags, firstMember, memberSize; ///< of a member its entity id and instance
};
inline constexpr std::size_t kContainerId = 5, kContainerInstance = 6, kMemberCount = 4;
inline constexpr unsigned int kRangesBit = 7, kPresenceReadableBit = 5; ///< of the flags
inline constexpr AssociationLayout kEntityLayout{7, 8, 2};
inline constexpr AssociationLayout kDeviceEntityLayout{9, 12, 4}; ///< address and channel are before each id
inline constexpr std::size_t kDeviceEntityAddress = 7;

/// Locators of devices, FRU devices and controllers.
namespace locator
{
inline constexpr std::size_t kAddress = 5, kDevice = 6, kFlags = 7, kChannel = 8, kType = 10, kModifier = 11,
                             kEntityId = 12, kEntityInstance = 13, kIdCode = 15;
inline constexpr unsigned int kLogicalBit = 7; ///< of a FRU device's flags; bits 4..3 are the LUN, 2..0 a private bus
} // namespace locator

} // namespace Ipmi::wire::sdr
