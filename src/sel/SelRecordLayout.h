// Byte positions in records of the system event log: IPMI 2.0, tables 32-1 and 32-2.
#pragma once

#include "ipmi/IpmiRecords.h"

#include <cstddef>
#include <cstdint>

namespace Ipmi::sel_record
{

inline constexpr std::size_t kId = 0, kType = 2, kTimestamp = 3, kGenerator = 7, kEvmRevision = 9, kSensorType = 10,
                             kSensorNumber = 11, kDirectionAndType = 12, kData1 = 13, kData2 = 14, kData3 = 15,
                             kSize = 16;
static_assert(kTimestamp + 4 == kGenerator && kGenerator + 2 == kEvmRevision && sizeof(sel_event_record) == kSize);

inline constexpr std::uint8_t kUnspecifiedType = 0x00, kSystemEventType = 0x02, kFirstTimestampedOemType = 0xc0,
                              kLastTimestampedOemType = 0xdf;
inline constexpr std::uint8_t kDeassertion = 0x80; ///< else assertion
inline constexpr std::uint8_t kEventTypeMask = 0x7f, kOffsetMask = 0x0f;

// Event/reading type codes (IPMI 2.0, table 42-1).
inline constexpr int kThreshold = 0x01, kLastGeneric = 0x0c, kSensorSpecific = 0x6f;

} // namespace Ipmi::sel_record
