// SPDX-License-Identifier: Apache-2.0
// Reading and writing CIM date-times.
#include "cmpi/DateTimeText.h"

#include <chrono>
#include <cstdio>

namespace Ipmi
{

namespace
{

constexpr std::uint64_t kSecond = 1'000'000, kDay = 86'400 * kSecond;
constexpr std::uint64_t kMostDays = 99'999'999;

constexpr std::chrono::sys_days kLastDay = std::chrono::year{9999} / 12 / 31;
constexpr auto kLastDayNumber = static_cast<std::uint64_t>(kLastDay.time_since_epoch().count());
static_assert(kLastDayNumber == 2'932'896);

/// Where the fields of both forms stand. The day field of an interval is what year, month and day are of a time.
constexpr std::size_t kYear = 0, kMonth = 4, kDayOfMonth = 6, kHour = 8, kMinute = 10, kSecondOfMinute = 12,
                      kPoint = 14, kMicrosecond = 15, kSign = 21, kOffset = 22;
static_assert(kOffset + 3 == kDateTimeLength);

/// Reads fixed decimal fields; one that is not all digits latches.
class Fields
{
public:
    explicit Fields(std::string_view text) : text_(text) {}

    unsigned int number(std::size_t at, std::size_t digits)
    {
        unsigned int value = 0;
        for (const char c : text_.substr(at, digits)) {
            ok_ = ok_ && c >= '0' && c <= '9';
            value = value * 10 + static_cast<unsigned int>(c - '0');
        }
        return value;
    }
    bool ok() const { return ok_; }

private:
    std::string_view text_;
    bool ok_ = true;
};

/// Microseconds since midnight; nothing for an impossible time of day.
std::optional<std::uint64_t> timeOfDay(Fields& fields)
{
    const unsigned int hour = fields.number(kHour, 2), minute = fields.number(kMinute, 2),
                       second = fields.number(kSecondOfMinute, 2), fraction = fields.number(kMicrosecond, 6);
    if (!fields.ok() || hour > 23 || minute > 59 || second > 59)
        return std::nullopt;
    return ((hour * 60ULL + minute) * 60 + second) * kSecond + fraction;
}

std::optional<DateTimeValue> pointInTime(Fields& fields, std::uint64_t time, bool east)
{
    const std::chrono::year_month_day date{std::chrono::year{static_cast<int>(fields.number(kYear, 4))},
                                           std::chrono::month{fields.number(kMonth, 2)},
                                           std::chrono::day{fields.number(kDayOfMonth, 2)}};
    const auto offset = static_cast<std::int64_t>(fields.number(kOffset, 3) * 60 * kSecond);
    if (!fields.ok() || !date.ok())
        return std::nullopt;
    const auto days = std::chrono::sys_days{date}.time_since_epoch().count();
    const std::int64_t local = days * static_cast<std::int64_t>(kDay) + static_cast<std::int64_t>(time);
    const std::int64_t utc = east ? local - offset : local + offset;
    if (utc < 0)
        return std::nullopt;
    return DateTimeValue{static_cast<std::uint64_t>(utc), false};
}

std::optional<DateTimeValue> interval(Fields& fields, std::uint64_t time)
{
    const std::uint64_t days = fields.number(kYear, 8);
    const unsigned int offset = fields.number(kOffset, 3);
    if (!fields.ok() || offset != 0)
        return std::nullopt;
    return DateTimeValue{days * kDay + time, true};
}

} // namespace

std::optional<DateTimeText> formatDateTime(DateTimeValue value)
{
    const std::uint64_t days = value.microseconds / kDay;
    if (days > (value.interval ? kMostDays : kLastDayNumber))
        return std::nullopt;
    const auto seconds = static_cast<unsigned int>(value.microseconds % kDay / kSecond);
    const auto fraction = static_cast<unsigned int>(value.microseconds % kSecond);

    unsigned long date = static_cast<unsigned long>(days);
    if (!value.interval) {
        const std::chrono::year_month_day ymd{std::chrono::sys_days{std::chrono::days{days}}};
        date = static_cast<unsigned long>(static_cast<int>(ymd.year())) * 10'000 +
               static_cast<unsigned int>(ymd.month()) * 100 + static_cast<unsigned int>(ymd.day());
    }
    std::array<char, 64> text{};
    std::snprintf(text.data(), text.size(), "%08lu%02u%02u%02u.%06u%s", date, seconds / 3600, seconds / 60 % 60,
                  seconds % 60, fraction, value.interval ? ":000" : "+000");
    DateTimeText result{};
    std::string_view(text.data()).copy(result.data(), kDateTimeLength);
    return result;
}

std::optional<DateTimeValue> parseDateTime(std::string_view text)
{
    if (text.size() != kDateTimeLength || text[kPoint] != '.')
        return std::nullopt;
    Fields fields(text);
    const auto time = timeOfDay(fields);
    if (!time)
        return std::nullopt;
    switch (text[kSign]) {
    case '+':
    case '-':
        return pointInTime(fields, *time, text[kSign] == '+');
    case ':':
        return interval(fields, *time);
    default:
        return std::nullopt;
    }
}

} // namespace Ipmi
