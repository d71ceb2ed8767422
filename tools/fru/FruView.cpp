// SPDX-License-Identifier: Apache-2.0
// Puts into words what a FRU is called and what is wrong with it.
#include "fru/FruView.h"

#include "ipmi/IpmiFruMulti.h"
#include "node/CompletionCode.h"

#include <fmt/format.h>
#include <utility>

namespace Tool
{

namespace
{

using Ipmi::IpmiFruArea;
using Ipmi::IpmiFruDevice;

std::string notAsked(const IpmiFruDevice& device)
{
    if (device.isLogical)
        return "not asked: it is a memory module's own device, which has no FRU areas";
    if (device.bus != 0)
        return fmt::format("not asked: it is on private bus {} of its controller", device.bus);
    return fmt::format("not asked: it is on the bus of channel {} itself", device.channel);
}

std::string headerTrouble(const IpmiFruDevice& device)
{
    const bool unknown = device.state == IpmiFruDevice::kBadHeader;
    if (device.headerChecksumOk)
        return unknown ? "bad header: its format is not known" : "";
    return unknown ? "bad header: its format is not known, and its checksum is wrong"
                   : "bad header: its checksum is wrong";
}

std::string troubleOf(const IpmiFruDevice& device, IpmiFruDevice::State state, std::uint8_t completionCode)
{
    switch (state) {
    case IpmiFruDevice::kNotAsked:
        return notAsked(device);
    case IpmiFruDevice::kNoAnswer:
        return "its controller does not answer, or not with sense";
    case IpmiFruDevice::kRefused:
        return "its controller refuses: " + completionCodeText(completionCode);
    case IpmiFruDevice::kByWords:
        return "it counts in words, and was read in bytes";
    default:
        return headerTrouble(device);
    }
}

} // namespace

FruView::FruView(IpmiFruDevice from) : title(fruTitle(from)), trouble(fruTrouble(from)), device(std::move(from)) {}

FruView::FruView(std::string name, std::span<const std::uint8_t> image) : title(std::move(name)), isImage(true)
{
    device.areas = Ipmi::decodeFru(image.data(), image.size(), &trouble);
    device.size = static_cast<unsigned int>(image.size());
}

std::string fruTitle(const IpmiFruDevice& device)
{
    const std::string id = device.isLogical ? fmt::format("FRU {}", device.id) : fmt::format("0x{:02x}", device.id);
    return device.name.empty() ? id : fmt::format("{} ({})", device.name, id);
}

std::string fruTrouble(const IpmiFruDevice& device)
{
    return troubleOf(device, device.state, device.completionCode);
}

std::string fruTrouble(const IpmiFruDevice& device, const Ipmi::IpmiFruImage& image)
{
    return image.state == IpmiFruDevice::kRead ? "" : troubleOf(device, image.state, image.completionCode);
}

std::vector<Ipmi::IpmiFruField> fieldsOf(const IpmiFruArea& area)
{
    return area.contents ? area.contents->fields() : std::vector<Ipmi::IpmiFruField>();
}

std::vector<Ipmi::IpmiFruRecord> recordsOf(const IpmiFruArea& area)
{
    const auto* multi = dynamic_cast<const Ipmi::IpmiFruMulti*>(area.contents.get());
    return multi ? multi->records() : std::vector<Ipmi::IpmiFruRecord>();
}

} // namespace Tool
