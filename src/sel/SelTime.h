// SPDX-License-Identifier: Apache-2.0
// Times of the system event log: seconds since 1970, or since the BMC's start, or not known (IPMI 2.0, 37.1).
#pragma once

#include "ipmi/CmpiDateTime.h"

#include <cstdint>

namespace Ipmi
{

inline constexpr std::uint32_t kNoSelTime = 0xffffffff;
inline constexpr std::uint32_t kLastPreInitTime = 0x20000000; ///< up to here it counts from the BMC's start

inline bool isPointInTime(std::uint32_t time)
{
    return time > kLastPreInitTime && time != kNoSelTime;
}

/// Throws CmpiStatus with the broker's status when it fails.
inline CmpiDateTime dateTimeOfSel(std::uint32_t time)
{
    constexpr unsigned long long kMicroseconds = 1'000'000;
    if (time == kNoSelTime)
        return CmpiDateTime::Unknown();
    return {time * kMicroseconds, isPointInTime(time) ? CmpiDateTime::kPointInTime : CmpiDateTime::kInterval};
}

} // namespace Ipmi
