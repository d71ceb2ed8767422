// Records from fields: id strings in each encoding, conversions, positions.
#include "sim/SdrWriter.h"

#include <gtest/gtest.h>

#include <cmath>
#include <stdexcept>

namespace Sim
{

TEST(SimSdrWriter, IdStrings)
{
    using enum IdEncoding;
    const struct {
        const char* text;
        IdEncoding encoding;
        Bytes bytes; ///< none: it cannot be
    } rows[] = {
        {"", latin1, {0xc0}},
        {"Fan 1", latin1, {0xc5, 'F', 'a', 'n', ' ', '1'}},
        {"\xc2\xb0\x43", latin1, {0xc2, 0xb0, 'C'}},
        {"seventeen letters", latin1, {}},
        {"\xe6\xb8\xa9", latin1, {}},
        {"\x80", latin1, {}},
        {"IPMI", sixBit, {0x83, 0x29, 0xdc, 0xa6}}, // the standard's own example
        {"A", sixBit, {0x81, 0x21}},
        {"AB", sixBit, {0x82, 0xa1, 0x08}},
        {"lower", sixBit, {}},
        {"12-3.4:5", bcdPlus, {0x44, 0x12, 0xb3, 0xc4, 0xd5}},
        {"7", bcdPlus, {0x41, 0x7a}},
        {"A", bcdPlus, {}},
        {"\xe6\xb8\xa9", unicode, {0x02, 0x29, 0x6e}},
        {"\xf0\x9f\x8c\x80", unicode, {}},
        {"nine char", unicode, {}},
        {"cut \xe6\xb8", unicode, {}},
    };
    for (const auto& row : rows) {
        if (row.bytes.empty())
            EXPECT_THROW(encodeIdString(row.text, row.encoding), std::invalid_argument) << row.text;
        else
            EXPECT_EQ(encodeIdString(row.text, row.encoding), row.bytes) << row.text;
    }
}

TEST(SimSdrWriter, ConversionsGoBothWays)
{
    using enum RawFormat;
    const struct {
        SensorScale scale;
        std::uint8_t raw;
        double value;
    } rows[] = {
        {{isUnsigned, 0, 1, 0, 0, 0}, 200, 200},         {{twosComplement, 0, 1, 0, 0, 0}, 0xf6, -10},
        {{onesComplement, 0, 1, 0, 0, 0}, 0xf5, -10},    {{isUnsigned, 0, -6, -100, 1, -2}, 33, -11.98},
        {{isUnsigned, 0, 98, 5, 2, -4}, 92, 0.9516},     {{isUnsigned, 1, 1, 1, 0, 0}, 59, std::log(60)},
        {{isUnsigned, 2, 10, 0, 0, 0}, 100, 3},          {{isUnsigned, 3, 2, 0, 0, 0}, 64, 7},
        {{isUnsigned, 4, 1, 0, 0, -1}, 10, std::exp(1)}, {{isUnsigned, 5, 1, 0, 0, -1}, 20, 100},
        {{isUnsigned, 6, 1, 0, 0, 0}, 10, 1024},         {{isUnsigned, 7, 4, 0, 0, 0}, 5, 0.05},
        {{isUnsigned, 8, 1, 0, 0, 0}, 12, 144},          {{twosComplement, 9, 1, 0, 0, 0}, 0xfd, -27},
        {{isUnsigned, 10, 1, 0, 0, 0}, 144, 12},         {{isUnsigned, 11, 1, 0, 0, 0}, 125, 5},
    };
    for (const auto& row : rows) {
        EXPECT_NEAR(row.scale.value(row.raw), row.value, 1e-9) << int{row.scale.linearization};
        EXPECT_EQ(row.scale.nearestRaw(row.value), row.raw) << int{row.scale.linearization};
    }
}

TEST(SimSdrWriter, FullRecordBytes)
{
    SensorRecord record;
    record.key = {0x20, 1, 0x42};
    record.channel = 2, record.entityId = 7, record.entityInstance = 0x61, record.capabilities = 0x68, record.type = 1;
    record.masks = {0x1234, 0x5678, 0x3f1b};
    record.units = {0x19, 4, 6};
    record.scale = {RawFormat::twosComplement, 7, -2, 300, -1, 3};
    record.tolerance = 5, record.accuracy = 0x2aa, record.accuracyExponent = 2;
    record.direction = 1, record.analogFlags = 7, record.oem = 0x99;
    record.nominal = {1, 2, 3, 4, 5};
    record.thresholds = {11, 12, 13, 14, 15, 16};
    record.hysteresis = {21, 22};
    record.id = encodeIdString("Ab", IdEncoding::latin1);
    const Bytes expected{0x34, 0x12, 0x51, 0x01, 45,   0x20, 0x21, 0x42, 7,    0x61, 0x7f, 0x68, 1,
                         1,    0x34, 0x12, 0x78, 0x56, 0x1b, 0x3f, 0x99, 4,    6,    7,    0xfe, 0xc5,
                         0x2c, 0x6a, 0xa9, 0x3f, 7,    1,    2,    3,    4,    5,    16,   15,   14,
                         13,   12,   11,   21,   22,   0,    0,    0x99, 0xc2, 'A',  'b'};
    EXPECT_EQ(writeSensorRecord(0x1234, record), expected);
}

} // namespace Sim
