// SPDX-License-Identifier: Apache-2.0
// The 25 characters of a CIM date-time (DSP0004) and their microseconds.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Ipmi
{

struct DateTimeValue {
    std::uint64_t microseconds = 0; ///< since 1970-01-01 00:00:00 UTC, or of the interval
    bool interval = false;
};

inline constexpr std::size_t kDateTimeLength = 25;
using DateTimeText = std::array<char, kDateTimeLength + 1>; ///< NUL-terminated

/// `yyyymmddhhmmss.mmmmmm+000` or `ddddddddhhmmss.mmmmmm:000`; nothing for a value beyond year 9999 or 99999999 days.
std::optional<DateTimeText> formatDateTime(DateTimeValue value);

/// Reads either form, with any UTC offset; nothing for any other text and for times before 1970.
std::optional<DateTimeValue> parseDateTime(std::string_view text);

} // namespace Ipmi
