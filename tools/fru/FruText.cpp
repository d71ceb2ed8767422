// SPDX-License-Identifier: Apache-2.0
// A FRU as a block of lines: where it is, then its areas, each with its fields.
#include "fru/FruView.h"
#include "sensors/EntityOutline.h"
#include "terminal/Table.h"

#include <fmt/format.h>

namespace Tool
{

namespace
{

using Ipmi::IpmiFruArea;
using Ipmi::IpmiFruDevice;
using Ipmi::IpmiFruField;

/// Marks of a thing that is damaged.
constexpr const char* kChecksumWrong = "checksum wrong";
constexpr const char* kCutOff = "cut off";
constexpr const char* kEither = "checksum wrong or cut off";

class Block
{
public:
    explicit Block(const FruView& fru);
    std::string text(bool withColour) const { return table_.text(withColour); }

private:
    void line(std::size_t depth, const std::string& name, const std::string& text, Colour colour = Colour::kNone)
    {
        table_.add({{std::string(depth * 2, ' ') + name}, {text, colour}});
    }
    void addPlace(const IpmiFruDevice& device);
    void addField(std::size_t depth, const IpmiFruField& field);
    void addArea(const IpmiFruArea& area);
    void addRecords(const IpmiFruArea& area);

    Table table_{{{}, {}}};
};

Block::Block(const FruView& fru)
{
    if (!fru.isImage)
        addPlace(fru.device);
    if (fru.device.size != 0)
        line(1, "size", fmt::format("{} bytes", fru.device.size));
    if (!fru.trouble.empty())
        line(1, "contents", fru.trouble, fru.device.state == IpmiFruDevice::kNotAsked ? Colour::kFaint : Colour::kRed);
    else if (fru.device.areas.empty())
        line(1, "contents", "no areas");
    for (const IpmiFruArea& area : fru.device.areas)
        addArea(area);
}

void Block::addPlace(const IpmiFruDevice& device)
{
    line(1, "entity", device.hasLocator ? entityTitle(device.entity) : "-");
    line(1, "controller", fmt::format("0x{:02x}, LUN {}, channel {}", device.controller, device.lun, device.channel));
    if (!device.isLogical)
        line(1, "place",
             device.bus != 0 ? fmt::format("address 0x{:02x} on private bus {}", device.id, device.bus)
                             : fmt::format("address 0x{:02x} on channel {}", device.id, device.channel));
}

/// Long binary values go on below.
void Block::addField(std::size_t depth, const IpmiFruField& field)
{
    constexpr std::size_t kMostDigits = 64;
    const std::string text = field.value.empty()  ? "-"
                             : field.unit.empty() ? field.value
                                                  : fmt::format("{} {}", field.value, field.unit);
    const std::size_t most = field.encoding == IpmiFruField::kBinary ? kMostDigits : text.size();
    line(depth, field.name, text.substr(0, most));
    for (std::size_t from = most; from < text.size(); from += most)
        line(depth, "", text.substr(from, most));
}

/// An info area that is cut off has no checksum.
std::string marksOf(const IpmiFruArea& area)
{
    if (area.whole)
        return area.checksumOk ? "" : kChecksumWrong;
    return area.kind != IpmiFruArea::kMulti || area.checksumOk ? kCutOff : kEither;
}

void Block::addArea(const IpmiFruArea& area)
{
    line(1, fmt::format("{} area", kindName(area.kind)), marksOf(area), Colour::kRed);
    if (area.kind == IpmiFruArea::kMulti)
        return addRecords(area);
    for (const IpmiFruField& field : fieldsOf(area))
        addField(2, field);
}

/// Where the area has no end the last record may be what is cut off.
void Block::addRecords(const IpmiFruArea& area)
{
    const std::vector<Ipmi::IpmiFruRecord> records = recordsOf(area);
    for (const Ipmi::IpmiFruRecord& record : records) {
        const bool maybeCut = !area.whole && &record == &records.back();
        line(2, fmt::format("{} (type 0x{:02x})", record.name, record.type),
             record.checksumOk ? ""
             : maybeCut        ? kEither
                               : kChecksumWrong,
             Colour::kRed);
        for (const IpmiFruField& field : record.fields)
            addField(3, field);
    }
}

} // namespace

std::string textOf(const FruView& fru, bool withColour)
{
    return printable(fru.title) + '\n' + Block(fru).text(withColour);
}

} // namespace Tool
