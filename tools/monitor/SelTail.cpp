// Reads the records behind the library's last one, one by one.
#include "monitor/SelTail.h"

#include "ipmi/IpmiIfc.h"
#include "node/NodeSession.h"

#include <algorithm>
#include <array>
#include <optional>

namespace Tool
{

namespace
{

constexpr std::uint16_t kFirst = 0x0000, kNone = 0xffff;

struct Entry {
    std::uint16_t next = kNone; ///< id of the record behind it
    Ipmi::sel_event_record record{};
};

/// IPMI 2.0, 31.5; no reservation is needed for a whole record.
std::optional<Entry> readEntry(int node, std::uint16_t id)
{
    constexpr std::uint8_t kStorage = 0x0a, kGetEntry = 0x43, kWhole = 0xff;
    constexpr std::size_t kRecord = 2;
    const std::array<std::uint8_t, 6> which{0, 0,     static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8),
                                            0, kWhole};
    const auto reply = sendTo(node, kStorage, kGetEntry, which);
    if (!reply || reply->data.size() < kRecord + kSelRecordSize)
        return std::nullopt;
    Entry entry;
    entry.next = static_cast<std::uint16_t>(reply->data[0] | reply->data[1] << 8);
    std::copy_n(reply->data.begin() + kRecord, kSelRecordSize, entry.record.bytes);
    return entry;
}

} // namespace

const SelRecords& SelTail::read(unsigned short count)
{
    constexpr unsigned kCounted = 0xff; // of the number of records, by the library
    const bool isSeen = (Ipmi::IpmiIfc::getRawSelHeader(node_).entryCount() & kCounted) == count;
    if (isSeen)
        records_.clear();
    else if (count != count_ || records_.empty())
        walk();
    count_ = count;
    return records_;
}

void SelTail::walk()
{
    constexpr int kMost = 256;
    records_.clear();
    const SelRecords seen = Ipmi::IpmiIfc::getSelData(node_);
    auto entry = seen.empty() ? Entry{kFirst, {}} : readEntry(node_, seen.back()->recordId());
    for (int i = 0; i < kMost && entry && entry->next != kNone; ++i) {
        entry = readEntry(node_, entry->next);
        if (entry)
            records_.emplace_back(new Ipmi::IpmiSelData(&entry->record, node_));
    }
}

} // namespace Tool
