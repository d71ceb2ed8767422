// SPDX-License-Identifier: Apache-2.0
// Byte positions in records of the system event log: IPMI 2.0, tables 32-1 and 32-2.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Ipmi::wire::sel
{

inline constexpr std::size_t kId = 0, kType = 2, kTimestamp = 3, kGenerator = 7, kEvmRevision = 9, kSensorType = 10,
                             kSensorNumber = 11, kDirectionAndType = 12, kData1 = 13, kData2 = 14, kData3 = 15,
                             kSize = 16;
static_assert(kTimestamp + 4 == kGenerator && kGenerator + 2 == kEvmRevision && kData1 + 3 == kSize);

/// Of records that makers define: where theirs begins, with a timestamp before it and without.
inline constexpr std::size_t kOemData = 7, kUntimedOemData = 3;

inline constexpr std::uint8_t kUnspecifiedType = 0x00, kSystemEventType = 0x02, kFirstTimestampedOemType = 0xc0,
                              kLastTimestampedOemType = 0xdf;
inline constexpr std::uint8_t kDeassertion = 0x80; ///< else assertion
inline constexpr std::uint8_t kEventTypeMask = 0x7f, kOffsetMask = 0x0f;

} // namespace Ipmi::wire::sel
