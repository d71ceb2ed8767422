// SPDX-License-Identifier: Apache-2.0
// Tables of the names that machine files may use.
#include "sim/machine/Names.h"

namespace Sim
{

namespace
{

constexpr Name kUnitNames[] = {
    {"unspecified", 0}, {"degrees C", 1}, {"degrees F", 2}, {"degrees K", 3}, {"volts", 4},     {"amps", 5},
    {"watts", 6},       {"joules", 7},    {"VA", 9},        {"lux", 12},      {"kPa", 14},      {"PSI", 15},
    {"newtons", 16},    {"CFM", 17},      {"RPM", 18},      {"hertz", 19},    {"seconds", 22},  {"minutes", 23},
    {"hours", 24},      {"mm", 32},       {"metres", 34},   {"ohms", 54},     {"decibels", 60}, {"bits", 66},
    {"megabytes", 72},  {"errors", 88},
};

constexpr Name kSensorTypes[] = {
    {"temperature", 0x01},
    {"voltage", 0x02},
    {"current", 0x03},
    {"fan", 0x04},
    {"physical security", 0x05},
    {"processor", 0x07},
    {"power supply", 0x08},
    {"power unit", 0x09},
    {"cooling device", 0x0a},
    {"other units", 0x0b},
    {"memory", 0x0c},
    {"drive slot", 0x0d},
    {"firmware progress", 0x0f},
    {"event log", 0x10},
    {"watchdog 1", 0x11},
    {"system event", 0x12},
    {"critical interrupt", 0x13},
    {"button", 0x14},
    {"module", 0x15},
    {"chipset", 0x19},
    {"cable", 0x1b},
    {"system boot", 0x1d},
    {"boot error", 0x1e},
    {"os boot", 0x1f},
    {"os stop", 0x20},
    {"slot", 0x21},
    {"acpi power state", 0x22},
    {"watchdog 2", 0x23},
    {"entity presence", 0x25},
    {"battery", 0x29},
    {"version change", 0x2b},
};

constexpr Name kLinearizations[] = {
    {"linear", 0}, {"ln", 1},  {"log10", 2},  {"log2", 3}, {"e^x", 4},   {"10^x", 5},
    {"2^x", 6},    {"1/x", 7}, {"square", 8}, {"cube", 9}, {"sqrt", 10}, {"cube root", 11},
};

constexpr Name kRates[] = {
    {"none", 0}, {"us", 1}, {"ms", 2}, {"second", 3}, {"minute", 4}, {"hour", 5}, {"day", 6},
};

constexpr Name kModifierUses[] = {{"none", 0}, {"divide", 1}, {"multiply", 2}};
constexpr Name kFormats[] = {{"unsigned", 0}, {"ones complement", 1}, {"twos complement", 2}, {"none", 3}};
constexpr Name kEncodings[] = {{"unicode", 0}, {"bcd plus", 1}, {"6-bit", 2}, {"latin1", 3}};
constexpr Name kAccess[] = {{"none", 0}, {"readable", 1}, {"settable", 2}, {"fixed", 3}};
constexpr Name kSensorKinds[] = {{"full", 1}, {"compact", 2}, {"event-only", 3}};
constexpr Name kThresholdNames[] = {{"lnc", 0}, {"lc", 1}, {"lnr", 2}, {"unc", 3}, {"uc", 4}, {"unr", 5}};

} // namespace

std::span<const Name> unitNames()
{
    return kUnitNames;
}

std::span<const Name> sensorTypeNames()
{
    return kSensorTypes;
}

std::span<const Name> linearizationNames()
{
    return kLinearizations;
}

std::span<const Name> rateNames()
{
    return kRates;
}

std::span<const Name> modifierUseNames()
{
    return kModifierUses;
}

std::span<const Name> formatNames()
{
    return kFormats;
}

std::span<const Name> encodingNames()
{
    return kEncodings;
}

std::span<const Name> accessNames()
{
    return kAccess;
}

std::span<const Name> sensorKindNames()
{
    return kSensorKinds;
}

std::span<const Name> thresholdNames()
{
    return kThresholdNames;
}

} // namespace Sim
