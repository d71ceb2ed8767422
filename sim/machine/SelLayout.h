// SPDX-License-Identifier: Apache-2.0
// Byte positions inside event records, counted from 0: IPMI 2.0, SEL Event Records.
#pragma once

#include "sim/machine/Machine.h"

namespace Sim::SelLayout
{

inline constexpr std::size_t kId = 0, kType = 2, kTimestamp = 3, kGenerator = 7, kRevision = 9, kSensorType = 10,
                             kSensorNumber = 11, kDirectionAndType = 12, kData = 13;
static_assert(kTimestamp + 4 == kGenerator && kData + 3 == kSelRecordSize);

inline constexpr std::uint8_t kSystemEvent = 0x02, kFirstUntimed = 0xe0; ///< record types
inline constexpr std::uint8_t kEventRevision = 0x04;
inline constexpr std::uint8_t kDeassertion = 0x80; ///< in the direction and type
inline constexpr std::uint8_t kUnspecified = 0xff; ///< event data

} // namespace Sim::SelLayout
