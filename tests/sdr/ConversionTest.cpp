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
    int m = 1, b = 0, bExponent = 0, resultExponent = 0;
    unsigned int format = 0, linearization = 0;
};

Bytes record(const Factors& f)
{
    const auto m = static_cast<unsigned int>(f.m), b = static_cast<unsigned int>(f.b);
    const auto exponents = static_cast<unsigned int>((f.resultExponent & 0xf) << 4 | (f.bExponent & 0xf));
    // Bits of tolerance, accuracy, and the reserved top bit of the linearisation are set: they must not count.
    return sensorRecord(kFull, {{20, f.format << 6},
                                {23, 0x80 | f.linearization},
                                {24, m & 0xff},
                                {25, (m >> 2 & 0xc0) | 0x3f},
                                {26, b & 0xff},
                                {27, (b >> 2 & 0xc0) | 0x3f},
                                {28, 0xff},
                                {29, exponents}});
}

struct ToUnits {
    Factors factors;
    unsigned int raw;
    double value;
};

TEST(Conversion, RawToUnits)
{
    const ToUnits rows[] = {
        {{.m = 2}, 50, 100.0},
        {{.m = 1, .b = 5, .bExponent = 1, .resultExponent = -1}, 10, 6.0},
        {{.m = 1}, 255, 255.0},
        {{.m = -512}, 1, -512.0},
        {{.m = 256}, 1, 256.0},
        {{.m = 511}, 1, 511.0},
        {{.m = 0, .b = -512}, 9, -512.0},
        {{.m = 1, .b = 511, .bExponent = -8}, 0, 511e-8},
        {{.m = 1, .b = 1, .bExponent = 7, .resultExponent = 7}, 0, 1e14},
        {{.m = 1, .resultExponent = -8}, 3, 3e-8},
        {{.m = 3, .format = 2}, 0xf6, -30.0},
        {{.m = 3, .format = 2}, 0x80, -384.0},
        {{.m = 3, .format = 2}, 0x7f, 381.0},
        {{.m = 3, .b = 2, .format = 2}, 0xff, -1.0},
        {{.m = 3, .format = 1}, 0xff, 0.0},
        {{.m = 1, .format = 1}, 0x80, -127.0},
        {{.m = 1, .format = 1}, 0xfe, -1.0},
        {{.m = 1, .format = 1}, 0x7f, 127.0},
        {{.linearization = 0}, 8, 8.0},
        {{.linearization = 1}, 8, std::log(8.0)},
        {{.linearization = 2}, 100, 2.0},
        {{.linearization = 3}, 8, 3.0},
        {{.linearization = 4}, 2, std::exp(2.0)},
        {{.linearization = 5}, 3, 1000.0},
        {{.linearization = 6}, 8, 256.0},
        {{.linearization = 7}, 8, 0.125},
        {{.linearization = 8}, 8, 64.0},
        {{.linearization = 9}, 3, 27.0},
        {{.linearization = 10}, 9, 3.0},
        {{.linearization = 11}, 27, 3.0},
        {{.linearization = 12}, 8, 8.0},
        {{.linearization = 0x70}, 8, 8.0},
        {{.linearization = 0x7f}, 8, 8.0},
        {{.linearization = 7}, 0, HUGE_VAL},
        {{.linearization = 1}, 0, -HUGE_VAL},
        {{.format = 2, .linearization = 10}, 0xff, NAN},
    };
    for (const ToUnits& row : rows) {
        const auto made = sensor<IpmiThresholdSensor>(record(row.factors));
        const double value = made.convertRawValue(row.raw);
        SCOPED_TRACE(testing::Message() << "row " << &row - rows << ", raw " << row.raw);
        if (std::isnan(row.value)) {
            EXPECT_TRUE(std::isnan(value));
        } else {
            EXPECT_DOUBLE_EQ(value, row.value);
        }
        EXPECT_TRUE(std::isnan(value) || made.getReading(row.raw) == value);
    }
}

struct ToRaw {
    Factors factors;
    double value;
    int raw;
};

TEST(Conversion, UnitsToRaw)
{
    const ToRaw rows[] = {
        {{.m = 2}, 100.0, 50},
        {{.m = 2}, 101.0, 51},
        {{.m = 1, .b = 5, .bExponent = 1, .resultExponent = -1}, 6.0, 10},
        {{.m = 1, .b = 50}, 0.0, 0},
        {{.m = 1, .b = 50}, -0.0, 0},
        {{.m = 1, .b = 50}, 1e-300, -50},
        {{.m = 0}, 5.0, 0},
        {{.m = 1}, 1e9, 1'000'000'000},
        {{.m = 1}, 3e9, INT_MIN},
        {{.m = 1}, NAN, INT_MIN},
        {{.m = 1, .format = 1}, 20.0, 19},
        {{.m = 1, .format = 1}, -20.0, -21},
        {{.m = 0, .format = 1}, 5.0, INT_MIN},
        {{.m = 1, .format = 2}, -10.0, -10},
        {{.m = 0, .format = 2}, 5.0, INT_MIN},
        {{.m = 1, .format = 3}, 5.0, 0},
        {{.linearization = 1}, 2.0, 7},
        {{.linearization = 2}, 2.0, 100},
        {{.linearization = 3}, 1.0, 20}, // not 2: e cubed
        {{.linearization = 4}, 100.0, 5},
        {{.linearization = 5}, 1000.0, 3},
        {{.linearization = 6}, 256.0, 8},
        {{.linearization = 7}, 0.125, INT_MIN}, // never a number
        {{.linearization = 8}, 64.0, 8},
        {{.linearization = 9}, 27.0, 3},
        {{.linearization = 10}, 3.0, 9},
        {{.linearization = 11}, 3.0, 27},
        {{.linearization = 12}, 3.0, 3},
        {{.linearization = 0x7f}, 3.0, 3},
        {{.linearization = 4}, -1.0, INT_MIN},
    };
    for (const ToRaw& row : rows)
        EXPECT_EQ(sensor<IpmiThresholdSensor>(record(row.factors)).convertToRawValue(row.value), row.raw)
            << "row " << &row - rows << ", value " << row.value;
}

TEST(Conversion, EveryRawValueComesBackWhereTheFunctionsAreInverse)
{
    for (unsigned int format : {0U, 2U}) {
        for (const Factors& f : {Factors{.m = 7, .b = 1}, Factors{.m = -3, .b = 100, .resultExponent = -2},
                                 Factors{.m = 500, .b = -511, .bExponent = 2, .resultExponent = -3}}) {
            Factors factors = f;
            factors.format = format;
            const auto made = sensor<IpmiThresholdSensor>(record(factors));
            for (unsigned int raw = 0; raw < 256; ++raw) {
                const double value = made.convertRawValue(raw);
                if (value != 0.0) {
                    EXPECT_EQ(made.convertToRawValue(value) & 0xff, static_cast<int>(raw));
                }
            }
        }
    }
}

TEST(Conversion, WhatCannotBeConvertedIsZeroAndLogged)
{
    struct Row {
        Bytes record;
        const char* text;
    };
    const Row rows[] = {
        {sensorRecord(kCompact, {{24, 1}}), "convertRawValue: request but not a full sensor"},
        {sensorRecord(kEventOnly), "convertRawValue: request but not a full sensor"},
        {{}, "convertRawValue: request but not a full sensor"},
        {record({.m = 1, .format = 3}), "convertRawValue: request against non-threshold sensor"},
    };
    for (const Row& row : rows) {
        LogCapture log;
        const auto made = sensor<IpmiThresholdSensor>(row.record);
        EXPECT_EQ(made.convertRawValue(5), 0.0);
        EXPECT_EQ(log.lines(), (std::vector<LogLine>{{LOG_ERR, row.text}}));
        log.clear();
        EXPECT_EQ(made.convertToRawValue(5.0), 0);
        EXPECT_TRUE(log.lines().empty());
    }
}

} // namespace
