#include "sdr/SensorRecords.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <climits>
#include <cmath>

namespace
{

using Ipmi::IpmiThresholdSensor;
using namespace Support;

/// The conversion factors of a full record.
struct Factors {
    int m = 1, b = 0, bExp = 0, exp = 0;
    unsigned int format = 0, function = 0;
};

Bytes record(const Factors& f)
{
    const auto m = static_cast<unsigned int>(f.m), b = static_cast<unsigned int>(f.b);
    const auto exponents = static_cast<unsigned int>((f.exp & 0xf) << 4 | (f.bExp & 0xf));
    // Bits of tolerance, accuracy, and the reserved top bit of the linearisation are set: they must not count.
    const unsigned int bytes[] = {
        0x80 | f.function, m & 0xff, (m >> 2 & 0xc0) | 0x3f, b & 0xff, (b >> 2 & 0xc0) | 0x3f, 0xff, exponents};
    Bytes made = sensorRecord(kFull, {{20, f.format << 6}});
    std::transform(std::begin(bytes), std::end(bytes), made.begin() + 23,
                   [](unsigned int byte) { return static_cast<std::uint8_t>(byte); });
    return made;
}

double toUnits(const Factors& factors, unsigned int raw)
{
    const auto made = sensor<IpmiThresholdSensor>(record(factors));
    const double value = made.convertRawValue(raw);
    EXPECT_TRUE(std::isnan(value) || made.getReading(raw) == value);
    return value;
}

int toRaw(const Factors& factors, double value)
{
    return sensor<IpmiThresholdSensor>(record(factors)).convertToRawValue(value);
}

TEST(Conversion, RawToUnits)
{
    using Row = std::tuple<Factors, unsigned int, double>; // factors, raw, value
    const std::vector<Row> rows({Row{{.m = 2}, 50, 100.0}, Row{{.m = 1, .b = 5, .bExp = 1, .exp = -1}, 10, 6.0},
                                 Row{{.m = 1}, 255, 255.0}, Row{{.m = -512}, 1, -512.0}, Row{{.m = 511}, 1, 511.0},
                                 Row{{.m = 0, .b = -512}, 9, -512.0}, Row{{.m = 1, .b = 511, .bExp = -8}, 0, 511e-8},
                                 Row{{.m = 1, .b = 1, .bExp = 7, .exp = 7}, 0, 1e14}, Row{{.m = 1, .exp = -8}, 3, 3e-8},
                                 Row{{.m = 3, .format = 2}, 0x80, -384.0},
                                 Row{{.m = 3, .b = 2, .format = 2}, 0xff, -1.0}, Row{{.m = 3, .format = 1}, 0xff, 0.0},
                                 Row{{.m = 1, .format = 1}, 0x80, -127.0}, Row{{.m = 1, .format = 1}, 0xfe, -1.0},
                                 Row{{.m = 1, .format = 1}, 0x7f, 127.0}});
    for (const auto& [factors, raw, value] : rows)
        EXPECT_DOUBLE_EQ(toUnits(factors, raw), value) << raw;
    EXPECT_TRUE(std::isnan(toUnits({.format = 2, .function = 10}, 0xff)));
}

TEST(Conversion, UnitsToRaw)
{
    using Row = std::tuple<Factors, double, int>; // factors, value, raw
    const std::vector<Row> rows(
        {Row{{.m = 2}, 100.0, 50}, Row{{.m = 2}, 101.0, 51}, Row{{.m = 1, .b = 5, .bExp = 1, .exp = -1}, 6.0, 10},
         Row{{.m = 1, .b = 50}, 0.0, 0}, Row{{.m = 1, .b = 50}, -0.0, 0}, Row{{.m = 1, .b = 50}, 1e-300, -50},
         Row{{.m = 0}, 5.0, 0}, Row{{.m = 1}, 1e9, 1'000'000'000}, Row{{.m = 1}, 3e9, INT_MIN},
         Row{{.m = 1}, NAN, INT_MIN}, Row{{.m = 1, .format = 1}, 20.0, 19}, Row{{.m = 1, .format = 1}, -20.0, -21},
         Row{{.m = 0, .format = 1}, 5.0, INT_MIN}, Row{{.m = 1, .format = 2}, -10.0, -10},
         Row{{.m = 0, .format = 2}, 5.0, INT_MIN}, Row{{.m = 1, .format = 3}, 5.0, 0}});
    for (const auto& [factors, value, raw] : rows)
        EXPECT_EQ(toRaw(factors, value), raw) << value;
}

TEST(Conversion, FunctionsAndWhatCountsAsTheirInverse)
{
    // Two inverses are none, and are meant: that of 3 (log 2), and that of 7 (1/x), which is never a number.
    using Row = std::tuple<unsigned int, unsigned int, double, double, int>; // function, raw to units, units to raw
    const std::vector<Row> rows({Row{0, 8, 8.0, 8.0, 8}, Row{1, 8, std::log(8.0), 2.0, 7}, Row{1, 0, -HUGE_VAL, 2.0, 7},
                                 Row{2, 100, 2.0, 2.0, 100}, Row{3, 8, 3.0, 1.0, 20},
                                 Row{4, 2, std::exp(2.0), 100.0, 5}, Row{4, 2, std::exp(2.0), -1.0, INT_MIN},
                                 Row{5, 3, 1e3, 1e3, 3}, Row{6, 8, 256.0, 256.0, 8}, Row{7, 8, 0.125, 0.125, INT_MIN},
                                 Row{7, 0, HUGE_VAL, 0.125, INT_MIN}, Row{8, 8, 64.0, 64.0, 8},
                                 Row{9, 3, 27.0, 27.0, 3}, Row{10, 9, 3.0, 3.0, 9}, Row{11, 27, 3.0, 3.0, 27},
                                 Row{12, 8, 8.0, 3.0, 3}, Row{0x70, 8, 8.0, 3.0, 3}, Row{0x7f, 8, 8.0, 3.0, 3}});
    for (const auto& [function, raw, units, value, back] : rows) {
        EXPECT_DOUBLE_EQ(toUnits({.function = function}, raw), units) << function;
        EXPECT_EQ(toRaw({.function = function}, value), back) << function;
    }
}

TEST(Conversion, EveryRawValueComesBackWhereTheFunctionsAreInverse)
{
    for (Factors factors : {Factors{.m = 7, .b = 1}, Factors{.m = -3, .b = 100, .exp = -2},
                            Factors{.m = 500, .b = -511, .bExp = 2, .exp = -3}}) {
        for (unsigned int i = 0; i < 512; ++i) {
            factors.format = i < 256 ? 0 : 2;
            const double value = toUnits(factors, i % 256);
            EXPECT_TRUE(value == 0.0 || (toRaw(factors, value) & 0xff) == static_cast<int>(i % 256)) << i;
        }
    }
}

TEST(Conversion, WhatCannotBeConvertedIsZeroAndLogged)
{
    using Row = std::pair<Bytes, const char*>;
    const std::vector<Row> rows({Row{sensorRecord(kCompact, {{24, 1}}), "but not a full sensor"},
                                 Row{record({.m = 1, .format = 3}), "against non-threshold sensor"}});
    for (const auto& [bytes, text] : rows) {
        LogCapture log;
        const auto made = sensor<IpmiThresholdSensor>(bytes);
        EXPECT_EQ(made.convertRawValue(5), 0.0);
        EXPECT_EQ(made.convertToRawValue(5.0), 0) << "silently";
        EXPECT_EQ(log.lines(), (std::vector<LogLine>{{LOG_ERR, std::string("convertRawValue: request ") + text}}));
    }
}

} // namespace
