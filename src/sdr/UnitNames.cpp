// SPDX-License-Identifier: Apache-2.0
// The table of units.
#include "sdr/UnitNames.h"

#include <cstddef>

namespace Ipmi
{

namespace
{

// IPMI 2.0, table 43-15, Sensor Unit Type Codes; by code.
constexpr const char* unit_desc[] = {
    /*  0 */ "unspecified",
    "degrees C",
    "degrees F",
    "degrees K",
    "Volts",
    /*  5 */ "Amps",
    "Watts",
    "Joules",
    "Coulombs",
    "VA",
    /* 10 */ "Nits",
    "lumen",
    "lux",
    "Candela",
    "kPa",
    /* 15 */ "PSI",
    "Newton",
    "CFM",
    "RPM",
    "Hz",
    /* 20 */ "microsecond",
    "millisecond",
    "second",
    "minute",
    "hour",
    /* 25 */ "day",
    "week",
    "mil",
    "inches",
    "feet",
    /* 30 */ "cu in",
    "cu feet",
    "mm",
    "cm",
    "m",
    /* 35 */ "cu cm",
    "cu m",
    "liters",
    "fluid ounce",
    "radians",
    /* 40 */ "steradians",
    "revolutions",
    "cycles",
    "gravities",
    "ounce",
    /* 45 */ "pound",
    "ft-lb",
    "oz-in",
    "gauss",
    "gilberts",
    /* 50 */ "henry",
    "millihenry",
    "farad",
    "microfarad",
    "ohms",
    /* 55 */ "siemens",
    "mole",
    "becquerel",
    "PPM",
    "reserved",
    /* 60 */ "Decibels",
    "DbA",
    "DbC",
    "gray",
    "sievert",
    /* 65 */ "color temp deg K",
    "bit",
    "kilobit",
    "megabit",
    "gigabit",
    /* 70 */ "byte",
    "kilobyte",
    "megabyte",
    "gigabyte",
    "word",
    /* 75 */ "dword",
    "qword",
    "line",
    "hit",
    "miss",
    /* 80 */ "retry",
    "reset",
    "overflow",
    "underrun",
    "collision",
    /* 85 */ "packets",
    "messages",
    "characters",
    "error",
    "correctable error",
    /* 90 */ "uncorrectable error",
};
constexpr std::size_t kUnits = sizeof unit_desc / sizeof *unit_desc;
static_assert(kUnits == 91);

} // namespace

const char* unitName(unsigned int code)
{
    return code < kUnits ? unit_desc[code] : "";
}

} // namespace Ipmi
