// SPDX-License-Identifier: Apache-2.0
// Time stamps to texts, and texts of users to points in time.
#include "sel/SelTimestamp.h"

#include <cstdlib>
#include <ctime>
#include <fmt/chrono.h>
#include <fmt/format.h>

namespace Tool
{

namespace
{

std::string zoneOf(const std::tm& time)
{
    const long minutes = time.tm_gmtoff / 60;
    return fmt::format("{}{:02}:{:02}", minutes < 0 ? '-' : '+', std::abs(minutes) / 60, std::abs(minutes) % 60);
}

/// Nothing for a day that is not in the calendar.
std::optional<std::int64_t> pointOf(const std::tm& written, bool utc)
{
    std::tm time = written;
    time.tm_isdst = -1;
    const std::time_t point = utc ? ::timegm(&time) : std::mktime(&time);
    if (time.tm_mday != written.tm_mday || time.tm_mon != written.tm_mon)
        return std::nullopt;
    return point;
}

} // namespace

std::optional<std::int64_t> SelTimestamp::point() const
{
    return isKnown() && !isUptime() ? std::optional<std::int64_t>(seconds_) : std::nullopt;
}

std::string SelTimestamp::text(bool utc) const
{
    if (!isKnown())
        return "unknown";
    if (isUptime())
        return fmt::format("pre-init +{} s", seconds_);
    return fmt::format("{:%F %T}", utc ? fmt::gmtime(std::time_t{seconds_}) : fmt::localtime(std::time_t{seconds_}));
}

Json SelTimestamp::json(bool utc) const
{
    if (!point())
        return nullptr;
    const std::tm time = utc ? fmt::gmtime(std::time_t{seconds_}) : fmt::localtime(std::time_t{seconds_});
    return fmt::format("{:%FT%T}{}", time, utc ? "Z" : zoneOf(time));
}

std::optional<std::int64_t> pointFrom(const std::string& text, bool utc)
{
    for (const char* form :
         {"%Y-%m-%dT%H:%M:%S", "%Y-%m-%d %H:%M:%S", "%Y-%m-%dT%H:%M", "%Y-%m-%d %H:%M", "%Y-%m-%d"}) {
        std::tm time{};
        const char* zone = ::strptime(text.c_str(), form, &time);
        if (!zone)
            continue;
        if (*zone == '\0')
            return pointOf(time, utc);
        std::tm shift{};
        const char* end = ::strptime(zone, "%z", &shift);
        const auto point = pointOf(time, true);
        if (end && *end == '\0' && point)
            return *point - shift.tm_gmtoff;
    }
    return std::nullopt;
}

} // namespace Tool
