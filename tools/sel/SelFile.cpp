// SPDX-License-Identifier: Apache-2.0
// Records to bytes and back.
#include "sel/SelFile.h"

#include "base/Failure.h"
#include "files/InputFile.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool
{

std::vector<std::uint8_t> selFileContent(const SelRecords& records)
{
    std::vector<std::uint8_t> content;
    for (const auto& record : records) {
        const auto bytes = bytesOf(*record);
        content.insert(content.end(), bytes.begin(), bytes.end());
    }
    return content;
}

SelRecords readSelFile(const std::string& path)
{
    constexpr std::size_t kMostRecords = 0xffff;
    const auto content = readFile(path, kMostRecords * kSelRecordSize);
    if (content.size() % kSelRecordSize != 0)
        throw Failure(
            fmt::format("{} is no saved log: its {} bytes are no records of {}", path, content.size(), kSelRecordSize));
    SelRecords records;
    for (auto from = content.begin(); from != content.end(); from += kSelRecordSize) {
        Ipmi::sel_event_record record;
        std::copy_n(from, kSelRecordSize, record.bytes);
        records.emplace_back(new Ipmi::IpmiSelData(&record, 0));
    }
    return records;
}

} // namespace Tool
