// SPDX-License-Identifier: Apache-2.0
// Reading the headers of records.
#include "fru/RecordWalk.h"

#include "wire/FruLayout.h"

#include <algorithm>
#include <numeric>

namespace Ipmi
{

using namespace wire;

bool hasZeroSum(std::span<const std::uint8_t> bytes, std::uint8_t sum)
{
    return lowByte(std::accumulate(bytes.begin(), bytes.end(), unsigned{sum})) == 0;
}

bool RecordWalk::next()
{
    if (ended_ || rest_.size() < fru::kRecordHeaderSize)
        return false;
    const auto header = rest_.first(fru::kRecordHeaderSize);
    const std::size_t length = header[fru::kRecordLength];
    record_.type = header[fru::kRecordType];
    record_.last = bit(header[fru::kRecordFlags], fru::kEndOfList);
    record_.headerOk = hasZeroSum(header);
    rest_ = rest_.subspan(header.size());
    record_.whole = length <= rest_.size();
    record_.data = rest_.first(std::min(length, rest_.size()));
    record_.dataOk = record_.whole && hasZeroSum(record_.data, header[fru::kRecordChecksum]);
    rest_ = rest_.subspan(record_.data.size());
    ended_ = record_.last || !record_.headerOk || !record_.whole || length == 0;
    return true;
}

} // namespace Ipmi
