#include "sel/SelCache.h"

#include <new>
#include <utility>

namespace Ipmi
{

bool SelCache::endsWithRecordZero() const
{
    return lastRecordId == 0 && !records.empty() && records.back()->recordId() == 0;
}

bool SelCache::append(const sel_event_record& record, int node)
try {
    constexpr std::size_t kLeastGrowth = 16, kGrowthPart = 32; // little room goes unused, and growing stays rare
    if (records.size() == records.capacity())
        records.reserve(records.size() + records.size() / kGrowthPart + kLeastGrowth);
    records.emplace_back(new IpmiSelData(&record, node));
    lastRecordId = records.back()->recordId();
    return true;
} catch (const std::bad_alloc&) {
    return false;
}

void SelCache::trim(std::size_t most)
{
    if (records.size() > most)
        records.erase(records.begin(), records.end() - static_cast<std::ptrdiff_t>(most));
}

TRX::Reference<IpmiSel> SelCache::setInfo(const ipmiifc_sel_info& newInfo, int node)
{
    info = newInfo;
    try {
        return std::exchange(summary, TRX::Reference<IpmiSel>(new IpmiSel(info, allocation, node)));
    } catch (const std::bad_alloc&) {
        return {}; // the summary before stays
    }
}

void SelCache::beginLife()
{
    info = {};
    allocation = {};
    reservation = {};
    lastRecordId = 0;
    isStale = false;
    handlers.clear();
}

} // namespace Ipmi
