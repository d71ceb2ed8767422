// SPDX-License-Identifier: Apache-2.0
// Chooses records by number and time.
#include "sel/SelSelection.h"

#include "base/Failure.h"
#include "base/Number.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <utility>

namespace Tool
{

void SelSelection::apply(SelRecords& records) const
{
    const std::size_t most = last.value_or(records.size());
    bool isLater = !since;
    SelRecords kept;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const auto point = SelTimestamp(records[i]->messageTimeStamp()).point();
        if (since && point)
            isLater = *point >= *since;
        if (isLater && records.size() - i <= most)
            kept.push_back(records[i]);
    }
    records = std::move(kept);
}

std::int64_t sinceFrom(const std::string& text, bool utc)
{
    const auto since = pointFrom(text, utc);
    if (!since)
        throw Failure("\"" + printable(text) +
                      "\" is no time: give 2024-01-31, \"2024-01-31 13:45\" or 2024-01-31T13:45:00Z");
    return *since;
}

std::uint16_t recordIdFrom(const std::string& text)
{
    constexpr std::uint16_t kFirst = 0x0000, kLast = 0xffff; // have a meaning of their own to BMCs
    const auto id = numberFrom<std::uint16_t>(text);
    if (!id || *id == kFirst || *id == kLast)
        throw Failure("\"" + printable(text) + "\" is no record id: give 1 to 65534, or 0x0001 to 0xfffe");
    return *id;
}

} // namespace Tool
