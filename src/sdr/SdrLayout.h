// Byte positions in sensor records, counted from 0 with the header: IPMI 2.0, tables 43-1, 43-2 and 43-3.
#pragma once

#include <cstdint>

namespace Ipmi::sdr_record
{

inline constexpr std::uint8_t kFullType = 0x01, kCompactType = 0x02, kEventOnlyType = 0x03, kOemType = 0xc0;

// All three kinds.
inline constexpr unsigned int kId = 0, kType = 3, kOwner = 5, kLun = 6, kNumber = 7, kEntityId = 8, kEntityInstance = 9;

// Full and compact records.
inline constexpr unsigned int kInitialization = 10, kCapabilities = 11, kSensorType = 12, kEventType = 13,
                              kAssertionMask = 14, kDeassertionMask = 16, kReadingMask = 18, kReadableThresholds = 18,
                              kSettableThresholds = 19, kUnits = 20, kBaseUnit = 21, kModifierUnit = 22;

namespace full
{
inline constexpr unsigned int kLinearization = 23, kM = 24, kB = 26, kDirection = 28, kExponents = 29, kIdCode = 47;
}

namespace compact
{
inline constexpr unsigned int kSharing = 23, kModifierOffset = 24, kIdCode = 31;
}

namespace event_only
{
inline constexpr unsigned int kSensorType = 10, kEventType = 11, kSharing = 12, kModifierOffset = 13, kIdCode = 16;
}

/// Entity association record, 08h (IPMI 2.0, table 43-4): a container, and four pairs of entity id and instance.
namespace association
{
inline constexpr unsigned int kContainerId = 5, kContainerInstance = 6, kFlags = 7, kMembers = 8, kMemberSize = 2,
                              kMemberCount = 4;
inline constexpr unsigned int kRanges = 7, kPresenceReadable = 5; ///< bits of the flags
} // namespace association

} // namespace Ipmi::sdr_record
