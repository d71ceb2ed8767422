// SPDX-License-Identifier: Apache-2.0
// Finding records of a multi-record area.
#include "ipmi/IpmiFruMulti.h"

#include "base/Log.h"
#include "fru/FruRecords.h"
#include "fru/FruText.h"
#include "fru/RecordWalk.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <iterator>
#include <optional>

namespace Ipmi
{

using namespace wire;

namespace
{

void complainOfLength(const char* caller)
{
    TRX::log(LOG_ERR, "%s: Multi FRU record len is equal to zero, not valid.", caller);
}

/// Place of the first record of this type, by the rules of the getters: no checksum counts. Another record without
/// data ends the search and is logged with `caller`.
std::optional<unsigned int> findRecord(const IpmiFruMulti& area, unsigned char type, const char* caller)
{
    for (unsigned int place = 0; place < area.length();) {
        const unsigned int length = area.at(place + fru::kRecordLength);
        if (area.at(place + fru::kRecordType) == type)
            return place;
        if (length == 0) {
            complainOfLength(caller);
            return std::nullopt;
        }
        if (bit(area.at(place + fru::kRecordFlags), fru::kEndOfList))
            return std::nullopt;
        place += fru::kRecordHeaderSize + length;
    }
    return std::nullopt;
}

} // namespace

std::vector<IpmiFruRecord> IpmiFruMulti::records() const
{
    std::vector<IpmiFruRecord> records;
    for (RecordWalk walk(fruBytesOf(*this)); walk.next();) {
        const auto& record = walk.record();
        records.push_back({record.type, fruRecordName(record.type), record.headerOk && record.dataOk,
                           fruRecordFields(record.type, record.data)});
    }
    return records;
}

std::vector<IpmiFruField> IpmiFruMulti::fields() const
{
    std::vector<IpmiFruField> fields;
    for (IpmiFruRecord& record : records())
        std::move(record.fields.begin(), record.fields.end(), std::back_inserter(fields));
    return fields;
}

bool IpmiFruMulti::isMultiRecordTypePresent(unsigned char type) const
{
    return findRecord(*this, type, "isMultiRecordTypePresent").has_value();
}

std::string IpmiFruMulti::getValue(unsigned char type, FruKey key) const
{
    const auto found = findRecord(*this, type, "getValue");
    if (!found)
        return {};
    if (at(*found + fru::kRecordLength) == 0) {
        complainOfLength("getValue");
        return {};
    }
    // A record that is too short for its type has what follows it, and zeros past the area's end: this is meant.
    std::array<unsigned char, fru::supply::kSize> data{};
    for (unsigned int i = 0; i < data.size(); ++i)
        data[i] = at(*found + fru::kRecordHeaderSize + i);
    switch (type) {
    case fru::kPowerSupply:
        return getPowerSupplyValue(data.data(), key);
    case fru::kDcOutput:
        return getDCOutputValue(data.data(), key);
    case fru::kDcLoad:
        return getDCLoad(data.data(), key);
    case fru::kManagementAccess:
        return getManagementAccessValue(data.data(), key);
    case fru::kExtendedCompatibility:
        return getExtendedCompatValue(data.data(), key);
    default:
        return {};
    }
}

void IpmiFruMulti::dump() const
{
    TRX::log(LOG_DEBUG, "Multi Record Info Area : length=0x%02x", length());
    std::string line;
    char text[64];
    for (unsigned int i = 0; i < length(); ++i) {
        if (i % 32 == 0) {
            std::snprintf(text, sizeof text, "Multi Record Info Area : Data 0x%X:", i);
            line = text;
        }
        std::snprintf(text, sizeof text, i % 4 == 0 ? " %X" : "%X", at(i)); // no leading zeros: this is meant
        line += text;
        if (i % 32 == 31 || i + 1 == length())
            TRX::log(LOG_DEBUG, "%s", line.c_str());
    }
}

} // namespace Ipmi
