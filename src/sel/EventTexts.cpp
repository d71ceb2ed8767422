// SPDX-License-Identifier: Apache-2.0
// Finding rows in the tables of words.
#include "sel/EventTexts.h"

namespace Ipmi
{

namespace
{

/// The rows in order whose key, made by `keyOf`, is `key`.
template <typename KeyOf> EventTexts rowsWith(EventTexts table, unsigned int key, KeyOf keyOf)
{
    const auto first =
        std::partition_point(table.begin(), table.end(), [&](const EventText& row) { return keyOf(row) < key; });
    const auto last = std::partition_point(first, table.end(), [&](const EventText& row) { return keyOf(row) == key; });
    return table.subspan(static_cast<std::size_t>(first - table.begin()), static_cast<std::size_t>(last - first));
}

} // namespace

EventTexts rowsOf(EventTexts table, unsigned int code, unsigned int offset)
{
    constexpr unsigned int kOffsetRange = 0x100;
    return rowsWith(table, code * kOffsetRange + offset,
                    [](const EventText& row) { return row.code * kOffsetRange + row.offset; });
}

const EventText* findCode(EventTexts table, unsigned int code)
{
    const EventTexts rows = rowsWith(table, code, [](const EventText& row) { return unsigned{row.code}; });
    return rows.empty() ? nullptr : &rows.front();
}

const EventText* findEvent(EventTexts table, unsigned int code, unsigned int offset)
{
    const EventTexts rows = rowsOf(table, code, offset);
    return rows.empty() ? nullptr : &rows.front();
}

} // namespace Ipmi
