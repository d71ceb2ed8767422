// SPDX-License-Identifier: Apache-2.0
// Reads the records behind the library's last one, one by one.
#include "monitor/SelTail.h"

#include "ipmi/IpmiIfc.h"
#include "sel/SelReader.h"

#include <optional>

namespace Tool
{

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
    auto entry = seen.empty() ? SelEntry{Ipmi::wire::kFirstRecord, {}} : readSelEntry(node_, seen.back()->recordId());
    for (int i = 0; i < kMost && entry && entry->next != Ipmi::wire::kLastRecord; ++i) {
        entry = readSelEntry(node_, entry->next);
        if (entry)
            records_.emplace_back(new Ipmi::IpmiSelData(&entry->record, node_));
    }
}

} // namespace Tool
