// SPDX-License-Identifier: Apache-2.0
// SMBIOS, System Enclosure or Chassis Types.
#include "fru/ChassisTypes.h"

#include <iterator>

namespace Ipmi
{

namespace
{

// Texts that callers compare: some are spelled otherwise than in SMBIOS, and this is meant.
constexpr const char* kChassisTypes[] = {
    "Unspecified",
    "Other",
    "Unknown",
    "Desktop",
    "Low Profile Desktop",
    "Pizza Box",
    "Mini Tower",
    "Tower",
    "Portable",
    "LapTop",
    "Notebook",
    "Hand Held",
    "Docking Station",
    "All in One",
    "Sub Notebook",
    "Space-saving",
    "Lunch Box",
    "Main Server Chassis",
    "Expansion Chassis",
    "SubChassis",
    "Bus Expansion Chassis",
    "Peripheral Chassis",
    "RAID Chassis",
    "Rack Mount Chassis",
    "Sealed-case PC",
    "multi-system",
    "Compact PCI",
    "Advanced TCA",
    "Blade",
    "Blade Enclosure",
    "Tablet",
    "Convertible",
    "Detachable",
    "IoT Gateway",
    "Embedded PC",
    "Mini PC",
    "Stick PC",
};
static_assert(std::size(kChassisTypes) == 37);

constexpr unsigned int kLaptop = 9, kMultiSystem = 25;

} // namespace

const char* chassisTypeText(unsigned int type)
{
    return type < std::size(kChassisTypes) ? kChassisTypes[type] : "Unknown";
}

const char* chassisTypeName(unsigned int type)
{
    if (type == kLaptop)
        return "Laptop";
    if (type == kMultiSystem)
        return "Multi-system chassis";
    return type < std::size(kChassisTypes) ? kChassisTypes[type] : nullptr;
}

} // namespace Ipmi
