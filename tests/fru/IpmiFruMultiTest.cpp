// SPDX-License-Identifier: Apache-2.0
// Values of records by key, and how records are found.
#include "FruSamples.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace
{

using namespace FruTest;
using namespace Ipmi;

const Texts kSupplyValues{"750",   "900",  "25",   "10",    "9000",  "26400", "10000", "12000", "47",    "63",   "12",
                          "false", "true", "true", "false", "false", "10",    "2100",  "5 V",   "-12 V", "1600", ""};
const Texts kLoadValues{"1", "-500", "-1000", "-1", "120", "10", "33500"};

TEST(IpmiFruMulti, EveryKeyOfEveryType)
{
    const IpmiFruMulti area = areaOf<IpmiFruMulti>(kRecords);
    for (int key = -2; key < 50; ++key) {
        const auto asked = static_cast<FruKey>(key);
        const auto of = [key](const Texts& values, int first) {
            const int index = key - first;
            return index >= 0 && index < static_cast<int>(values.size()) ? values[static_cast<std::size_t>(index)] : "";
        };
        EXPECT_EQ(area.getValue(0, asked), of(kSupplyValues, 0)) << key;
        EXPECT_EQ(area.getValue(1, asked), key == 22 ? "yes" : of(kLoadValues, 23)) << key;
        EXPECT_EQ(area.getValue(2, asked), of(kLoadValues, 30)) << key;
        for (const std::uint8_t type : Bytes{3, 4, 5, 6, 0xc0})
            EXPECT_EQ(area.getValue(type, asked), "");
        EXPECT_EQ(area.getPowerSupplyValue(nullptr, asked) + area.getDCOutputValue(nullptr, asked) +
                      area.getDCLoad(nullptr, asked) + area.getManagementAccessValue(kDc.data(), asked) +
                      area.getExtendedCompatValue(kDc.data(), asked) + area.getOEMValue(kDc.data(), asked),
                  "");
    }
}

TEST(IpmiFruMulti, FlagsAndVoltagesOfSupplies)
{
    const struct {
        std::uint8_t flags, tachometer;
        const char* values; // keys 11 to 15 and 21
    } rows[] = {{0x00, 20, "false fase false false false "},
                {0x08, 0, "false true true false false "},
                {0x06, 0, "false fase false true false "},
                {0x01, 0, "false fase false false true Failure on pin assertion"},
                {0x11, 0, "true fase false false true Failure on pin de-assertion"},
                {0x01, 20, "false fase false false true One pulse per rotation"},
                {0x11, 20, "true fase false false true Two pulses per rotation"}};
    const IpmiFruMulti none;
    for (const auto& row : rows) {
        Bytes data = kSupply;
        data[17] = row.flags;
        data[23] = row.tachometer;
        std::string values;
        for (const int key : {11, 12, 13, 14, 15})
            values += none.getPowerSupplyValue(data.data(), static_cast<FruKey>(key)) + ' ';
        EXPECT_EQ(values + none.getPowerSupplyValue(data.data(), kFruPredictiveFail), row.values);
    }
    const char* volts[] = {"12 V", "-12 V", "5 V", "3.3 V", "n/a", "n/a"};
    for (unsigned int code = 0; code < std::size(volts); ++code) {
        Bytes data = kSupply;
        data[20] = static_cast<std::uint8_t>(code << 4 | (5 - code));
        EXPECT_EQ(none.getPowerSupplyValue(data.data(), kFruCombinedVoltage1), volts[code]);
        EXPECT_EQ(none.getPowerSupplyValue(data.data(), kFruCombinedVoltage2), volts[5 - code]);
    }
}

TEST(IpmiFruMulti, SearchEndsAtTheEndMarkAtNothingAndAtTheEnd)
{
    const Bytes load = record(2, kDc), last = record(3, {1, 'x'}, true), none = record(4, {});
    const struct {
        Bytes bytes;
        bool present; // type 1, behind them
        const char* complaint;
    } rows[] = {{{}, true, nullptr},
                {load, true, nullptr},
                {joined({load, last}), false, nullptr},
                {none, false, "zero"},
                {last, false, nullptr}};
    for (const auto& row : rows) {
        const Support::LogCapture log;
        const auto area = areaOf<IpmiFruMulti>(joined({row.bytes, record(1, kDc)}));
        EXPECT_EQ(area.isMultiRecordTypePresent(1), row.present);
        EXPECT_EQ(area.getValue(1, kFruOutputNumber), row.present ? "1" : "");
        const std::string text = ": Multi FRU record len is equal to zero, not valid.";
        EXPECT_EQ(log.count(LOG_ERR, "isMultiRecordTypePresent" + text), row.complaint ? 1 : 0);
        EXPECT_EQ(log.count(LOG_ERR, "getValue" + text), row.complaint ? 1 : 0);
        EXPECT_FALSE(area.isMultiRecordTypePresent(0)) << "the zeros behind the end are no record";
    }
    const Support::LogCapture log;
    EXPECT_TRUE(areaOf<IpmiFruMulti>(record(1, {}, true)).isMultiRecordTypePresent(1));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(areaOf<IpmiFruMulti>(record(1, {}, true)).getValue(1, kFruOutputNumber), "");
    EXPECT_EQ(log.lines().size(), 1u);
}

/// A record that is cut off has zeros.
TEST(IpmiFruMulti, EveryLengthOfASupply)
{
    for (std::size_t size = 5; size < 5 + kSupply.size(); ++size) {
        Bytes bytes = record(0, kSupply, true);
        bytes.resize(size);
        const Texts cut = getters(areaOf<IpmiFruMulti>(bytes));
        bytes.resize(5 + kSupply.size());
        EXPECT_EQ(cut, getters(areaOf<IpmiFruMulti>(bytes))) << size;
    }
}

TEST(IpmiFruMulti, IsLoggedInLinesOf32)
{
    const Support::LogCapture log;
    Bytes bytes(34, 0x0f);
    bytes[33] = 0xab;
    areaOf<IpmiFruMulti>(bytes).dump();
    IpmiFruMulti().dump();
    EXPECT_THAT(
        log.lines(),
        testing::ElementsAre(
            Support::LogLine{LOG_DEBUG, "Multi Record Info Area : length=0x22"},
            Support::LogLine{LOG_DEBUG, "Multi Record Info Area : Data 0x0: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF"},
            Support::LogLine{LOG_DEBUG, "Multi Record Info Area : Data 0x20: FAB"},
            Support::LogLine{LOG_DEBUG, "Multi Record Info Area : length=0x00"}));
}

} // namespace
