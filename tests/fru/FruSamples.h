// SPDX-License-Identifier: Apache-2.0
// Areas, records and images made of their parts, and what an area says as texts.
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
using Patch = std::vector<std::pair<std::size_t, std::uint8_t>>; ///< places and what stands there then

inline std::uint8_t checksum(const Bytes& bytes)
{
    return static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0));
}

inline Bytes joined(const std::vector<Bytes>& parts)
{
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

inline std::string oneLine(const Texts& texts)
{
    std::string all;
    for (const std::string& text : texts)
        all += (&text == texts.data() ? "" : "|") + text;
    return all;
}

inline Bytes changed(Bytes bytes, const Patch& patch)
{
    for (const auto& [place, value] : patch)
        bytes.at(place) = value;
    return bytes;
}

inline Bytes firstOf(const Bytes& bytes, std::size_t size)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size)};
}

/// A field of the type in bits 7:6.
inline Bytes field(std::uint8_t type, const std::string& data)
{
    return joined({{static_cast<std::uint8_t>(type | data.size())}, {data.begin(), data.end()}});
}

inline Bytes latin(const std::string& text)
{
    return field(0xc0, text);
}

/// An info area: what stands between its length and its fields, and the fields.
inline Bytes info(const Bytes& fixed, const std::vector<Bytes>& fields)
{
    Bytes area = joined({{1, 0}, fixed, joined(fields), {0xc1}});
    area.resize((area.size() + 8) / 8 * 8 - 1);
    area[1] = static_cast<std::uint8_t>((area.size() + 1) / 8);
    area.push_back(checksum(area));
    return area;
}

inline Bytes record(std::uint8_t type, const Bytes& data, bool last = false)
{
    Bytes header{type, static_cast<std::uint8_t>(last ? 0x82 : 2), static_cast<std::uint8_t>(data.size()),
                 checksum(data)};
    header.push_back(checksum(header));
    return joined({header, data});
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

/// "Name: value unit" of each, and what is neither a number nor a flag with its encoding and the number it stands for.
inline Texts lines(const std::vector<Ipmi::IpmiFruField>& fields)
{
    using Field = Ipmi::IpmiFruField;
    Texts lines;
    for (const Field& one : fields) {
        lines.push_back(one.name + ": " + one.value + (one.unit.empty() ? "" : ' ' + one.unit));
        if (one.encoding != Field::kNumber && one.encoding != Field::kFlag)
            lines.back() += std::string(" (") + encodingName(one.encoding) +
                            (one.number ? ' ' + std::to_string(static_cast<int>(*one.number)) : "") + ')';
    }
    return lines;
}

/// What each getter of the area's kind gives; of records "key=value", where there is one, of each type with keys.
inline Texts getters(const Ipmi::IpmiFruOptional& area)
{
    if (const auto* board = dynamic_cast<const Ipmi::IpmiFruBoard*>(&area))
        return {board->getManufacturer(), board->getName(), board->getSerialNumber(), board->getPartNumber(),
                board->getMfgDateTime8601()};
    if (const auto* chassis = dynamic_cast<const Ipmi::IpmiFruChassis*>(&area))
        return {chassis->getType(), chassis->getPartNumber(), chassis->getSerialNumber()};
    if (const auto* product = dynamic_cast<const Ipmi::IpmiFruProduct*>(&area))
        return {product->getManufacturer(), product->getName(),         product->getPartNumber(),
                product->getVersion(),      product->getSerialNumber(), product->getAssetTag()};
    Texts texts;
    if (const auto* multi = dynamic_cast<const Ipmi::IpmiFruMulti*>(&area))
        for (const std::uint8_t type : Bytes{0, 1, 2, 3, 4, 5, 6, 0xc0})
            for (int key = -2; key < 50; ++key)
                if (const std::string value = multi->getValue(type, static_cast<Ipmi::FruKey>(key)); !value.empty())
                    texts.push_back(std::to_string(key) + '=' + value);
    return texts;
}

} // namespace FruTest
