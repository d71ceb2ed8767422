// SPDX-License-Identifier: Apache-2.0
// Words for what a sensor's record says: its type, direction and units.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/IpmiSensorNames.h"
#include "sdr/UnitNames.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Ipmi
{

namespace sdr = wire::sdr;

namespace
{

// IPMI 2.0, table 42-3, Sensor Type Codes; by code.
constexpr const char* kSensorTypes[] = {
    /* 00h */ "reserved",
    "Temperature",
    "Voltage",
    "Current",
    /* 04h */ "Fan",
    "Physical Security",
    "Platform Security",
    "Processor",
    /* 08h */ "Power Supply",
    "Power Unit",
    "Cooling Device",
    "Other",
    /* 0Ch */ "Memory",
    "Drive Slot / Bay",
    "POST Memory Resize",
    "System Firmwares",
    /* 10h */ "Event Logging Disabled",
    "Watchdog",
    "System Event",
    "Critical Interrupt",
    /* 14h */ "Button",
    "Module / Board",
    "Microcontroller",
    "Add-in Card",
    /* 18h */ "Chassis",
    "Chip Set",
    "Other FRU",
    "Cable / Interconnect",
    /* 1Ch */ "Terminator",
    "System Boot Initiated",
    "Boot Error",
    "OS Boot",
    /* 20h */ "OS Critical Stop",
    "Slot / Connector",
    "System ACPI Power State",
    "Watchdog",
    /* 24h */ "Platform Alert",
    "Entity Presence",
    "Monitor ASIC",
    "LAN",
    /* 28h */ "Management Subsystem Health",
    "Battery",
    "Session Audit",
    "Version Change",
    /* 2Ch */ "FRU State",
};
static_assert(std::size(kSensorTypes) == 0x2d);

constexpr const char* kDirections[] = {"Unspecified", "input", "output", "reserved"};

struct EventReadingName {
    unsigned char code;
    const char* name;
};
// IPMI 2.0, table 42-1, Event/Reading Type Codes. 13, 27 and 35 are none of them: these rows are meant.
constexpr EventReadingName kEventReadingNames[] = {
    {1, "threshold"},
    {2, "DMI-discrete"},
    {3, "assert-discrete"},
    {4, "predictive-discrete"},
    {5, "limit-discrete"},
    {6, "performance-discrete"},
    {7, "severity-discrete"},
    {8, "present-discrete"},
    {9, "enabled-discrete"},
    {10, "availability-discrete"},
    {11, "redundancy-discrete"},
    {12, "ACPI-discrete"},
    {13, "int-drive"},
    {27, "present-discrete"},
    {35, "watchdog"},
    {111, "sensor-discrete"},
};

std::string SensorEventReadingToString(unsigned char code)
{
    const auto* row = std::find_if(std::begin(kEventReadingNames), std::end(kEventReadingNames),
                                   [code](const EventReadingName& name) { return name.code == code; });
    if (row != std::end(kEventReadingNames))
        return row->name;
    char text[sizeof "unspecified(0xff)"];
    std::snprintf(text, sizeof text, "unspecified(0x%x)", code);
    return text;
}

/// IPMI 2.0, 43.17: rate unit codes; 7 is reserved.
constexpr const char* kRates[] = {
    "", " per microsecond", " per millisecond", " per second", " per minute", " per hour", " per day", ""};

constexpr unsigned int kModifierDivides = 1, kModifierMultiplies = 2;

} // namespace

std::string DescFromType(unsigned char type)
{
    if (type < std::size(kSensorTypes))
        return kSensorTypes[type];
    char text[sizeof "OEM Reserved #ff"];
    std::snprintf(text, sizeof text, "OEM Reserved #%02x", type);
    return text;
}

std::string DescFromDirection(unsigned char direction)
{
    return direction < std::size(kDirections) ? kDirections[direction] : "";
}

std::string IpmiSensor::getSensorTypeString() const
{
    const unsigned int type = record_.at(sdr::kType);
    return isFullOrCompact() || type == sdr::kEventOnlyType ? DescFromType(getSensorType()) : std::string();
}

std::string IpmiSensor::getEventReadingTypeString() const
{
    const bool isSensor = isFullOrCompact() || record_.at(sdr::kType) == sdr::kEventOnlyType;
    return isSensor ? SensorEventReadingToString(getEventReadingType()) : std::string();
}

std::string IpmiSensor::getSensorDirectionString() const
{
    switch (record_.at(sdr::kType)) {
    case sdr::kFullType:
        return DescFromDirection(record_.at(sdr::full::kDirection) & 3);
    case sdr::kCompactType:
    case sdr::kEventOnlyType:
        return DescFromDirection(getSensorDirection());
    default:
        return {};
    }
}

std::string IpmiSensor::getBaseUnitString() const
{
    constexpr unsigned int kUnitLimit = 145; // codes from 91 on have no name
    const unsigned int code = record_.at(sdr::kBaseUnit);
    if (!isFullOrCompact() || code >= kUnitLimit)
        return {};
    if (record_.at(sdr::kType) == sdr::kCompactType && record_.at(sdr::kModifierUnit) == 0 &&
        IpmiIfc::getState(node_) == IpmiIfc::IPMI_STATE_CLI)
        return SensorEventReadingToString(getEventReadingType());
    return unitName(code);
}

std::string IpmiSensor::getModifierUnitString() const
{
    return isFullOrCompact() ? unitName(record_.at(sdr::kModifierUnit)) : "";
}

std::string IpmiSensor::getUnitsString() const
{
    if (!isConvertible())
        return {};
    const bool percentage = (getFlags() & kFlagPercentage) != 0;
    const std::string modifier = getModifierUnitString();
    std::string units = unitName(getBaseUnit());
    if (percentage)
        units = getBaseUnit() == 0 || units.empty() ? "percent" : "% " + units;
    if (units.empty())
        return {}; // modifier and rate alone are no unit
    const unsigned int use = modifier.empty() ? 0 : getModifierUnitUse();
    if (use == kModifierDivides)
        units += "/" + modifier;
    else if (use == kModifierMultiplies)
        units += "*" + modifier;
    return units + kRates[getRateUnit()];
}

} // namespace Ipmi
