#include "monitor/SelNews.h"

#include "ipmi/IpmiIfc.h"

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

SelRecords SelNews::take(const SelRecords& tail)
{
    const Ipmi::ipmiifc_sel_info info = Ipmi::IpmiIfc::getRawSelHeader(node_);
    if (info.version() == 0)
        return {}; // nobody has told yet
    SelRecords all = Ipmi::IpmiIfc::getSelData(node_);
    const bool isComplete = all.size() >= info.entryCount();
    all.insert(all.end(), tail.begin(), tail.end());
    std::set<Raw> now;
    SelRecords news;
    for (const auto& record : all) {
        if (!isOld(*record))
            news.push_back(record);
        now.insert(rawOf(*record));
    }
    if (known_ && !isComplete) // some could not be read: they are no news when they can
        now.merge(*known_);
    known_ = std::move(now);
    return news;
}

} // namespace Tool
