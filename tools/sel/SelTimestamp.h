// SPDX-License-Identifier: Apache-2.0
// Times of the event log: seconds on the BMC's clock, for people and for programs.
#pragma once

#include "base/Json.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tool
{

class SelTimestamp
{
public:
    explicit SelTimestamp(std::uint32_t seconds) : seconds_(seconds) {}

    bool isKnown() const { return seconds_ != kUnknown; }
    /// Counts from the BMC's start: its clock was not set yet (IPMI 2.0, 37.1).
    bool isUptime() const { return seconds_ <= kLastUptime; }
    /// Seconds since 1970; nothing where it is no point in time.
    std::optional<std::int64_t> point() const;

    /// "2024-01-07 08:17:20", "pre-init +12 s" or "unknown".
    std::string text(bool utc) const;
    /// ISO 8601 with the zone; null where it is no point in time.
    Json json(bool utc) const;

private:
    static constexpr std::uint32_t kUnknown = 0xffffffff, kLastUptime = 0x20000000;

    std::uint32_t seconds_;
};

/// Seconds since 1970 of a date with or without a time, a zone behind it or not: "2024-01-31", "2024-01-31 13:45",
/// "2024-01-31T13:45:00+01:00". Nothing for every other text.
/// @param utc  what it is where it names no zone; else local time
std::optional<std::int64_t> pointFrom(const std::string& text, bool utc);

} // namespace Tool
