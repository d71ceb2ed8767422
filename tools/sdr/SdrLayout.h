// Byte positions in sensor data records, counted from 0 with the header: IPMI 2.0, section 43.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tool::Sdr
{

inline constexpr std::uint8_t kFullType = 0x01, kCompactType = 0x02, kEventOnlyType = 0x03, kEntityType = 0x08,
                              kDeviceEntityType = 0x09, kGenericLocatorType = 0x10, kFruLocatorType = 0x11,
                              kMcLocatorType = 0x12, kMcConfirmationType = 0x13, kChannelInfoType = 0x14,
                              kOemType = 0xc0;

inline constexpr std::size_t kId = 0, kVersion = 2, kType = 3, kLength = 4, kHeaderSize = 5;

// Full, compact and event-only records.
inline constexpr std::size_t kOwner = 5, kLun = 6, kNumber = 7, kEntityId = 8, kEntityInstance = 9;
inline constexpr unsigned kLogicalEntityBit = 7;

// Full and compact records.
inline constexpr std::size_t kInitialization = 10, kCapabilities = 11, kAssertions = 14, kDeassertions = 16,
                             kReadable = 18, kSettable = 19, kUnits = 20;

namespace Full
{
inline constexpr std::size_t kLinearization = 23, kM = 24, kTolerance = 25, kB = 26, kAccuracy = 27,
                             kAccuracyExponent = 28, kExponents = 29, kAnalogFlags = 30, kNominal = 31, kNormalMax = 32,
                             kNormalMin = 33, kMax = 34, kMin = 35, kIdCode = 47;
static_assert(kM + 2 == kB && kMin + 12 == kIdCode); // thresholds, hysteresis and OEM bytes are between
} // namespace Full

namespace Compact
{
inline constexpr std::size_t kSharing = 23, kIdCode = 31;
}

namespace EventOnly
{
inline constexpr std::size_t kSensorType = 10, kEventType = 11, kSharing = 12, kIdCode = 16;
}

// Entity association records: the container, flags, and four members or two ranges of them.
inline constexpr std::size_t kContainer = 5, kMembers = 4;
inline constexpr unsigned kRangeBit = 7;
struct Association {
    std::size_t flags, firstMember, memberSize; ///< the first member's entity id and instance
};
inline constexpr Association kEntity{7, 8, 2};
inline constexpr Association kDeviceEntity{9, 12, 4}; ///< address and channel are before each id
inline constexpr std::size_t kDeviceEntityAddress = 7;

/// Locators of devices, FRU devices and controllers.
namespace Locator
{
inline constexpr std::size_t kAddress = 5, kDevice = 6, kFlags = 7, kEntityId = 12, kIdCode = 15;
inline constexpr unsigned kLogicalBit = 7;
} // namespace Locator

} // namespace Tool::Sdr
