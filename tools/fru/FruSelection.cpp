// SPDX-License-Identifier: Apache-2.0
// Chooses FRU devices by name and by id.
#include "fru/FruSelection.h"

#include "base/Failure.h"
#include "base/Number.h"
#include "fru/FruView.h"
#include "terminal/Choice.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tool
{

namespace
{

std::vector<std::string> titlesOf(const FruDevices& devices)
{
    std::vector<std::string> titles;
    for (const Ipmi::IpmiFruDevice& device : devices)
        titles.push_back(fruTitle(device));
    return titles;
}

} // namespace

void FruSelection::apply(FruDevices& devices) const
{
    if (!device)
        return;
    const std::vector<std::string> known = titlesOf(devices);
    std::erase_if(devices, [this](const Ipmi::IpmiFruDevice& one) {
        return !isSameName(one.name, *device) && byteFrom(*device) != one.id;
    });
    if (devices.empty())
        nothingFits("FRU device", *device, known);
}

Ipmi::IpmiFruDevice FruSelection::one(FruDevices devices) const
{
    apply(devices);
    if (devices.size() != 1)
        throw Failure(devices.empty() ? "there is no FRU device here"
                                      : fmt::format("name one of these FRU devices, by name or id: {}",
                                                    fmt::join(titlesOf(devices), ", ")));
    return std::move(devices.front());
}

} // namespace Tool
