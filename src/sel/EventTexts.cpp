#include "sel/EventTexts.h"

namespace Ipmi
{

namespace
{

EventTexts rowsOf(EventTexts table, unsigned int code)
{
    const auto first =
        std::partition_point(table.begin(), table.end(), [code](const EventText& row) { return row.code < code; });
    const auto last =
        std::partition_point(first, table.end(), [code](const EventText& row) { return row.code == code; });
    return table.subspan(static_cast<std::size_t>(first - table.begin()), static_cast<std::size_t>(last - first));
}

} // namespace

const EventText* findCode(EventTexts table, unsigned int code)
{
    const EventTexts rows = rowsOf(table, code);
    return rows.empty() ? nullptr : &rows.front();
}

const EventText* findEvent(EventTexts table, unsigned int code, unsigned int offset)
{
    const EventTexts rows = rowsOf(table, code);
    const auto found =
        std::find_if(rows.begin(), rows.end(), [offset](const EventText& row) { return row.offset == offset; });
    return found == rows.end() ? nullptr : &*found;
}

} // namespace Ipmi
