// SPDX-License-Identifier: Apache-2.0
// Areas with their damages, and the way from a whole image to them.
#include "ipmi/IpmiFruArea.h"

#include "fru/FruFields.h"
#include "fru/RecordWalk.h"
#include "ipmi/IpmiFruBoard.h"
#include "ipmi/IpmiFruChassis.h"
#include "ipmi/IpmiFruInternal.h"
#include "ipmi/IpmiFruMulti.h"
#include "ipmi/IpmiFruProduct.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Ipmi
{

using namespace wire;

namespace
{

template <typename Area> TRX::Reference<IpmiFruOptional> contentsOf(FruBytes bytes)
{
    return TRX::Reference<IpmiFruOptional>(new Area(static_cast<unsigned int>(bytes.size()), bytes.data()));
}

/// One row a kind, in the order of IpmiFruArea::Kind.
struct AreaKind {
    const char* name;
    std::size_t headerPlace; ///< of its offset in the common header
    TRX::Reference<IpmiFruOptional> (*make)(FruBytes);
};

constexpr AreaKind kAreaKinds[] = {
    {"internal", fru::kInternalOffset, contentsOf<IpmiFruInternal>},
    {"chassis", fru::kChassisOffset, contentsOf<IpmiFruChassis>},
    {"board", fru::kBoardOffset, contentsOf<IpmiFruBoard>},
    {"product", fru::kProductOffset, contentsOf<IpmiFruProduct>},
    {"multi-record", fru::kMultiOffset, contentsOf<IpmiFruMulti>},
};
static_assert(std::size(kAreaKinds) == IpmiFruArea::kMulti + 1);

/// Bytes of an info area as it says itself. @return what of `bytes` is its own
FruBytes measureInfo(IpmiFruArea& area, FruBytes bytes)
{
    const std::size_t claimed = bytes.size() > fru::kLength ? bytes[fru::kLength] * fru::kUnit : 0;
    const FruBytes own = bytes.first(std::min(bytes.size(), claimed));
    area.whole = claimed != 0 && own.size() == claimed;
    area.checksumOk = area.whole && hasZeroSum(own);
    return own;
}

FruBytes measureMulti(IpmiFruArea& area, FruBytes bytes)
{
    RecordWalk walk(bytes);
    area.checksumOk = true;
    while (walk.next()) {
        const auto& record = walk.record();
        area.checksumOk = area.checksumOk && record.headerOk && record.dataOk;
        area.whole = record.last && record.whole;
    }
    area.checksumOk = area.checksumOk && walk.position() != 0;
    return bytes.first(walk.position());
}

FruBytes measure(IpmiFruArea& area, FruBytes bytes)
{
    if (area.kind == IpmiFruArea::kMulti)
        return measureMulti(area, bytes);
    if (area.kind != IpmiFruArea::kInternal)
        return measureInfo(area, bytes);
    area.whole = !bytes.empty();
    area.checksumOk = true;
    return bytes;
}

/// Where what begins at `offset` ends at the latest: an internal use area ends at the next area.
std::size_t endOf(IpmiFruArea::Kind kind, std::size_t offset, FruBytes image)
{
    std::size_t end = image.size();
    for (const AreaKind& other : kAreaKinds) {
        const std::size_t start = image[other.headerPlace] * fru::kUnit;
        if (kind == IpmiFruArea::kInternal && start > offset)
            end = std::min(end, start);
    }
    return end;
}

/// What is wrong with the common header.
std::string headerFaults(bool knownVersion, bool goodSum, unsigned int version)
{
    char text[96] = "";
    if (!knownVersion)
        std::snprintf(text, sizeof text, "unknown format version 0x%02x of the common header%s", version,
                      goodSum ? "" : ", whose checksum is wrong too");
    else if (!goodSum)
        return "the common header has a wrong checksum";
    return text;
}

std::vector<IpmiFruArea> areasOf(FruBytes image)
{
    std::vector<IpmiFruArea> areas;
    for (std::size_t i = 0; i < std::size(kAreaKinds); ++i) {
        const auto kind = static_cast<IpmiFruArea::Kind>(i);
        const unsigned int offset = image[kAreaKinds[i].headerPlace] * fru::kUnit;
        if (offset == 0)
            continue;
        const std::size_t start = std::min<std::size_t>(offset, image.size());
        const FruBytes bytes = image.subspan(start, std::max(start, endOf(kind, start, image)) - start);
        areas.push_back(makeFruArea(kind, offset, bytes.data(), bytes.size()));
    }
    return areas;
}

/// Whether an area is one though nothing in the header that leads to it is right.
bool speaksForItself(const IpmiFruArea& area)
{
    return area.kind != IpmiFruArea::kInternal && area.whole && area.checksumOk;
}

} // namespace

const char* kindName(IpmiFruArea::Kind kind)
{
    const auto index = static_cast<std::size_t>(kind);
    return kAreaKinds[index < std::size(kAreaKinds) ? index : 0].name;
}

IpmiFruArea makeFruArea(IpmiFruArea::Kind kind, unsigned int offset, const unsigned char* bytes, std::size_t size)
{
    const auto index = static_cast<std::size_t>(kind);
    IpmiFruArea area;
    area.kind = index < std::size(kAreaKinds) ? kind : IpmiFruArea::kInternal;
    area.offset = offset;
    const FruBytes all(bytes, bytes == nullptr ? 0 : std::min<std::size_t>(size, fru::kMostBytes));
    area.contents = kAreaKinds[area.kind].make(measure(area, all));
    return area;
}

std::vector<IpmiFruArea> decodeFru(const unsigned char* image, std::size_t size, std::string* error)
{
    const FruBytes bytes(image, image == nullptr ? 0 : std::min<std::size_t>(size, fru::kMostBytes));
    std::string unused;
    std::string& complaint = error ? *error : unused;
    if (bytes.size() < fru::kHeaderSize) {
        complaint = "too short for a common header: " + std::to_string(bytes.size()) + " bytes";
        return {};
    }
    const bool knownVersion = bytes[fru::kHeaderVersion] == fru::kFormatVersion;
    const bool goodSum = hasZeroSum(bytes.first(fru::kHeaderSize));
    complaint = headerFaults(knownVersion, goodSum, bytes[fru::kHeaderVersion]);
    std::vector<IpmiFruArea> areas = areasOf(bytes);
    if (!knownVersion && !goodSum)
        std::erase_if(areas, [](const IpmiFruArea& area) { return !speaksForItself(area); });
    return areas;
}

} // namespace Ipmi
