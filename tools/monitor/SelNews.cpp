// SPDX-License-Identifier: Apache-2.0
// Records told from those that were there before.
#include "monitor/SelNews.h"

#include <algorithm>
#include <utility>

namespace Tool
{

SelNews::Raw SelNews::rawOf(const Ipmi::IpmiSelData& record)
{
    Raw raw{};
    std::ranges::copy(bytesOf(record), raw.begin());
    return raw;
}

bool SelNews::isOld(const Ipmi::IpmiSelData& record) const
{
    return !known_ || known_->contains(rawOf(record));
}

SelRecords SelNews::take(const SelRecords& all, Read read)
{
    std::set<Raw> now;
    SelRecords news;
    for (const auto& record : all) {
        if (!isOld(*record))
            news.push_back(record);
        now.insert(rawOf(*record));
    }
    if (known_ && read == Read::kInPart)
        now.merge(*known_);
    known_ = std::move(now);
    return news;
}

} // namespace Tool
