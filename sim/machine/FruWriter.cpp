// SPDX-License-Identifier: Apache-2.0
// A FRU image's areas from their fields, with lengths and checksums.
#include "sim/machine/FruWriter.h"

#include <algorithm>
#include <stdexcept>

namespace Sim
{

namespace
{

constexpr std::uint8_t kAreaVersion = 1, kEndOfFields = 0xc1;
constexpr std::size_t kAreaUnit = 8, kMostAreaUnits = 255, kLongestField = 63;
constexpr std::size_t kChassisFields = 2, kBoardFields = 5, kProductFields = 7;

void putChecksum(Bytes& bytes, bool wrong)
{
    bytes.push_back(static_cast<std::uint8_t>(checksum(bytes) + (wrong ? 1 : 0)));
}

std::size_t unitsOf(std::size_t bytes)
{
    return (bytes + kAreaUnit - 1) / kAreaUnit;
}

/// The fields behind an area's own bytes, padded to whole units with the checksum last, and the length byte.
Bytes closedArea(Bytes area, const FruArea& contents, std::size_t fixed)
{
    for (const Bytes& field : contents.fields)
        putBytes(area, field);
    for (std::size_t i = contents.fields.size(); i < fixed; ++i)
        putBytes(area, fruField(FruEncoding::text, {}));
    area.push_back(kEndOfFields);
    const std::size_t units = unitsOf(area.size() + 1);
    if (units > kMostAreaUnits)
        throw std::invalid_argument("a FRU area is too long");
    area[1] = static_cast<std::uint8_t>(units);
    area.resize(units * kAreaUnit - 1);
    putChecksum(area, contents.wrongChecksum);
    return area;
}

Bytes internalArea(const Bytes& content)
{
    Bytes area{kAreaVersion};
    putBytes(area, content);
    area.resize(unitsOf(area.size()) * kAreaUnit);
    return area;
}

Bytes chassisArea(const FruContents& contents)
{
    return closedArea({kAreaVersion, 0, contents.chassisType}, *contents.chassis, kChassisFields);
}

Bytes boardArea(const FruContents& contents)
{
    Bytes area{kAreaVersion, 0, contents.board->language};
    putWord(area, contents.boardMinutes & 0xffff);
    area.push_back(static_cast<std::uint8_t>(contents.boardMinutes >> 16 & 0xff));
    return closedArea(std::move(area), *contents.board, kBoardFields);
}

Bytes productArea(const FruContents& contents)
{
    return closedArea({kAreaVersion, 0, contents.product->language}, *contents.product, kProductFields);
}

void putRecord(Bytes& area, const FruRecord& record, bool last)
{
    constexpr std::uint8_t kFormat = 2, kLast = 0x80;
    if (record.data.size() > 255)
        throw std::invalid_argument("a FRU record has more than 255 bytes");
    const auto sum = static_cast<std::uint8_t>(checksum(record.data) + (record.wrongChecksum ? 1 : 0));
    Bytes header{record.type, static_cast<std::uint8_t>(kFormat | (last ? kLast : 0)),
                 static_cast<std::uint8_t>(record.data.size()), sum};
    putChecksum(header, record.wrongHeaderChecksum);
    putBytes(area, header);
    putBytes(area, record.data);
}

Bytes recordArea(const FruContents& contents)
{
    Bytes area;
    for (const FruRecord& record : contents.records)
        putRecord(area, record, contents.endMark && &record == &contents.records.back());
    return area;
}

/// The areas one after another, and where each begins, in units; 0: it is not there.
struct Layout {
    Bytes pointers{};
    Bytes areas{};

    void add(bool present, Bytes (*write)(const FruContents&), const FruContents& contents)
    {
        const std::size_t unit = 1 + unitsOf(areas.size());
        if (present && unit > kMostAreaUnits)
            throw std::invalid_argument("the FRU areas are too long");
        pointers.push_back(static_cast<std::uint8_t>(present ? unit : 0));
        if (present)
            putBytes(areas, write(contents));
    }
};

} // namespace

Bytes fruField(FruEncoding encoding, Bytes content)
{
    // A single character of text is written with a blank: C1h would end the fields.
    if (encoding == FruEncoding::text && content.size() == 1)
        content.push_back(' ');
    if (content.size() > kLongestField)
        throw std::invalid_argument("a FRU field has more than 63 characters");
    content.insert(content.begin(), static_cast<std::uint8_t>(static_cast<unsigned>(encoding) << 6 | content.size()));
    return content;
}

Bytes writeFru(const FruContents& contents)
{
    Layout layout;
    layout.add(
        contents.internal.has_value(), [](const FruContents& all) { return internalArea(*all.internal); }, contents);
    layout.add(contents.chassis.has_value(), chassisArea, contents);
    layout.add(contents.board.has_value(), boardArea, contents);
    layout.add(contents.product.has_value(), productArea, contents);
    layout.add(!contents.records.empty(), recordArea, contents);
    Bytes image{kAreaVersion};
    putBytes(image, layout.pointers);
    image.push_back(0);
    putChecksum(image, contents.wrongHeaderChecksum);
    putBytes(image, layout.areas);
    image.resize(std::max(image.size(), contents.size));
    return image;
}

} // namespace Sim
