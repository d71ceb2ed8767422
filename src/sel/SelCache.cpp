// SPDX-License-Identifier: Apache-2.0
// Appending, trimming and replacing what is known of the log.
#include "sel/SelCache.h"

#include "sel/SelTime.h"

#include <new>
#include <utility>

namespace Ipmi
{

const IpmiSelData* SelCache::last(std::uint16_t id) const
{
    const IpmiSelData* record = records.empty() ? nullptr : records.back().get();
    return record && lastRecordId == id && record->recordId() == id ? record : nullptr;
}

std::size_t SelCache::firstNewer(std::uint32_t since) const
{
    if (!isInOrder || since == kNoSelTime)
        return 0;
    std::size_t position = records.size();
    const auto isOld = [since](const IpmiSelData& record) {
        return record.isSelEventRecord() && record.messageTimeStamp() <= since;
    };
    while (position > 0 && !isOld(*records[position - 1]))
        --position;
    return position;
}

void SelCache::reserve(std::size_t count)
{
    try {
        records.reserve(count);
    } catch (const std::bad_alloc&) {
        return; // append() tells
    }
}

SelCache::Records SelCache::takeRecords()
{
    lastRecordId = 0;
    isStale = false;
    latestEvent = 0;
    isInOrder = true;
    return std::exchange(records, {});
}

bool SelCache::append(const sel_event_record& record, int node)
try {
    constexpr std::size_t kLeastGrowth = 16, kGrowthPart = 32; // little room goes unused, and growing stays rare
    if (records.size() == records.capacity())
        records.reserve(records.size() + records.size() / kGrowthPart + kLeastGrowth);
    records.emplace_back(new IpmiSelData(&record, node));
    const IpmiSelData& added = *records.back();
    lastRecordId = added.recordId();
    if (added.isSelEventRecord()) {
        isInOrder = isInOrder && added.messageTimeStamp() >= latestEvent;
        latestEvent = added.messageTimeStamp();
    }
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
