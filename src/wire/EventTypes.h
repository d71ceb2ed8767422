// SPDX-License-Identifier: Apache-2.0
// Event/reading type codes: IPMI 2.0, table 42-1.
#pragma once

#include <cstdint>

namespace Ipmi::wire
{

namespace event_type
{
inline constexpr std::uint8_t kThreshold = 0x01, kFirstGeneric = 0x02, kLastGeneric = 0x0c, kSensorSpecific = 0x6f,
                              kFirstOem = 0x70, kLastOem = 0x7f;
}

/// Offsets of states and events: 15 of them, in the lower bits of a word.
inline constexpr unsigned int kOffsets = 15, kOffsetBits = (1U << kOffsets) - 1;

} // namespace Ipmi::wire
