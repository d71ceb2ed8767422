// SPDX-License-Identifier: Apache-2.0
// A FRU image's areas from their fields, with lengths and checksums.
#include "sim/machine/FruWriter.h"

#include <algorithm>
#include <numeric>
#include <stdexcept>

namespace Sim
{

namespace
{

constexpr std::uint8_t kAreaVersion = 1, kEnglish = 25, kEndOfFields = 0xc1;
constexpr std::size_t kAreaUnit = 8, kMostAreaUnits = 255, kLongestField = 63;

/// Makes the bytes add up to zero with one more byte.
void putChecksum(Bytes& bytes)
{
    const unsigned sum = std::accumulate(bytes.begin(), bytes.end(), 0U);
    bytes.push_back(static_cast<std::uint8_t>(0U - sum));
}

void putFields(Bytes& area, const std::vector<std::string>& fields, std::size_t fixed)
{
    for (std::size_t i = 0; i < std::max(fields.size(), fixed); ++i) {
        const std::string text = i < fields.size() ? fields[i] : std::string();
        if (text.size() > kLongestField)
            throw std::invalid_argument("a FRU field has more than 63 characters");
        // A single character is written with a blank: C1h would end the fields.
        const std::string stored = text.size() == 1 ? text + " " : text;
        area.push_back(static_cast<std::uint8_t>(0xc0 | stored.size()));
        putBytes(area, stored);
    }
    area.push_back(kEndOfFields);
}

/// Pads to whole units with the checksum last, and sets the length byte.
void closeArea(Bytes& area)
{
    const std::size_t units = (area.size() + 1 + kAreaUnit - 1) / kAreaUnit;
    if (units > kMostAreaUnits)
        throw std::invalid_argument("a FRU area is too long");
    area[1] = static_cast<std::uint8_t>(units);
    area.resize(units * kAreaUnit - 1);
    putChecksum(area);
}

Bytes chassisArea(const FruFields& fields)
{
    Bytes area{kAreaVersion, 0, fields.chassisType};
    putFields(area, fields.chassis, 2);
    closeArea(area);
    return area;
}

Bytes boardArea(const FruFields& fields)
{
    Bytes area{kAreaVersion, 0, kEnglish};
    putWord(area, fields.boardMinutes & 0xffff);
    area.push_back(static_cast<std::uint8_t>(fields.boardMinutes >> 16 & 0xff));
    putFields(area, fields.board, 5);
    closeArea(area);
    return area;
}

Bytes productArea(const FruFields& fields)
{
    Bytes area{kAreaVersion, 0, kEnglish};
    putFields(area, fields.product, 7);
    closeArea(area);
    return area;
}

} // namespace

Bytes writeFru(const FruFields& fields)
{
    constexpr std::size_t kChassisAt = 2, kBoardAt = 3, kProductAt = 4, kHeaderSum = 7;
    Bytes header{kAreaVersion, 0, 0, 0, 0, 0, 0}, areas;
    const auto add = [&](std::size_t pointer, const Bytes& area) {
        const std::size_t unit = 1 + areas.size() / kAreaUnit;
        if (unit > kMostAreaUnits)
            throw std::invalid_argument("the FRU areas are too long");
        header[pointer] = static_cast<std::uint8_t>(unit);
        putBytes(areas, area);
    };
    if (fields.hasChassis)
        add(kChassisAt, chassisArea(fields));
    if (fields.hasBoard)
        add(kBoardAt, boardArea(fields));
    if (fields.hasProduct)
        add(kProductAt, productArea(fields));
    putChecksum(header);
    static_assert(kHeaderSum + 1 == kAreaUnit);
    putBytes(header, areas);
    header.resize(std::max(header.size(), fields.size));
    return header;
}

} // namespace Sim
