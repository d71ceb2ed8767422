// SPDX-License-Identifier: Apache-2.0
// Areas, records and images made of their parts, and fields as lines.
#pragma once

#include "ipmi/IpmiFruArea.h"
#include "ipmi/IpmiFruBoard.h"
#include "ipmi/IpmiFruChassis.h"
#include "ipmi/IpmiFruInternal.h"
#include "ipmi/IpmiFruMulti.h"
#include "ipmi/IpmiFruProduct.h"

#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace FruTest
{

using Bytes = std::vector<std::uint8_t>;
using Texts = std::vector<std::string>;

inline std::uint8_t checksum(const Bytes& bytes)
{
    return static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0));
}

inline void append(Bytes& bytes, const Bytes& more)
{
    bytes.insert(bytes.end(), more.begin(), more.end());
}

/// A field of the type in bits 7:6.
inline Bytes field(std::uint8_t type, const std::string& data)
{
    Bytes bytes{static_cast<std::uint8_t>(type | data.size())};
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

inline Bytes latin(const std::string& text)
{
    return field(0xc0, text);
}

/// An info area: what stands between its length and its fields, and the fields.
inline Bytes info(const Bytes& fixed, const std::vector<Bytes>& fields)
{
    Bytes area{1, 0};
    append(area, fixed);
    for (const Bytes& one : fields)
        append(area, one);
    area.push_back(0xc1);
    area.resize((area.size() + 8) / 8 * 8 - 1);
    area[1] = static_cast<std::uint8_t>((area.size() + 1) / 8);
    area.push_back(checksum(area));
    return area;
}

inline Bytes record(std::uint8_t type, const Bytes& data, bool last = false)
{
    Bytes bytes{type, static_cast<std::uint8_t>(last ? 0x82 : 0x02), static_cast<std::uint8_t>(data.size()),
                checksum(data)};
    bytes.push_back(checksum(bytes));
    append(bytes, data);
    return bytes;
}

inline Bytes joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        append(all, part);
    return all;
}

template <typename Area> Area areaOf(const Bytes& bytes)
{
    return Area(static_cast<unsigned int>(bytes.size()), bytes.data());
}

inline const Bytes kDate{0x00, 0x3e, 0x5d, 0x73}; ///< English, 2010-05-17 08:30
inline const Bytes kBoard =
    info(kDate, {latin("ACME"), field(0x80, "\x29\xdc\xa6"), latin("SN7"), latin("PN8"), latin("F1"), latin("more")});
inline const Bytes kChassis = info({23}, {latin("AB\xc2"), latin("SN1"), field(0x40, "\x12\x3a")});
inline const Bytes kProduct = info({0}, {latin("ACME"), latin("Box"), latin("M1"), latin("v\xc2"), latin("SN1"),
                                         latin("tag"), latin(""), field(0x00, "\x01\xff")});
inline const Bytes kSupply{0xee, 0x12, 0x84, 0x03, 0x19, 0x0a, 0x28, 0x23, 0x20, 0x67, 0x10, 0x27,
                           0xe0, 0x2e, 0x2f, 0x3f, 0x0c, 0x08, 0x34, 0xa8, 0x21, 0x40, 0x06, 0x14};
inline const Bytes kDc{0x81, 0x0c, 0xfe, 0x18, 0xfc, 0xff, 0xff, 0x78, 0x00, 0x0a, 0x00, 0xdc, 0x82};
inline const Bytes kOem{0x57, 0x01, 0x00, 0xab, 0xcd};
inline const Bytes kRecords =
    joined({record(0x00, kSupply), record(0x01, kDc), record(0x02, kDc), record(0xc0, kOem, true)});

/// "Name: value unit (encoding)" of each.
inline Texts lines(const std::vector<Ipmi::IpmiFruField>& fields)
{
    Texts lines;
    for (const auto& one : fields)
        lines.push_back(one.name + ": " + one.value + (one.unit.empty() ? "" : ' ' + one.unit) + " (" +
                        encodingName(one.encoding) + ')');
    return lines;
}

inline Texts getters(const Ipmi::IpmiFruBoard& area)
{
    return {area.getManufacturer(), area.getName(), area.getSerialNumber(), area.getPartNumber(),
            area.getMfgDateTime8601()};
}

inline Texts getters(const Ipmi::IpmiFruChassis& area)
{
    return {area.getType(), area.getPartNumber(), area.getSerialNumber()};
}

inline Texts getters(const Ipmi::IpmiFruProduct& area)
{
    return {area.getManufacturer(), area.getName(),         area.getPartNumber(),
            area.getVersion(),      area.getSerialNumber(), area.getAssetTag()};
}

/// All keys of the types that have some.
inline Texts getters(const Ipmi::IpmiFruMulti& area)
{
    Texts texts;
    for (const std::uint8_t type : Bytes{0, 1, 2})
        for (int key = 0; key <= Ipmi::kFruLoadMaximumCurrent; ++key)
            texts.push_back(area.getValue(type, static_cast<Ipmi::FruKey>(key)));
    return texts;
}

} // namespace FruTest
