#include "SelSelection.h"

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
        const auto point = SelTime(records[i]->messageTimeStamp()).point();
        if (since && point)
            isLater = *point >= *since;
        if (isLater && records.size() - i <= most)
            kept.push_back(records[i]);
    }
    records = std::move(kept);
}

} // namespace Tool
