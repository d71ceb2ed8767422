// SPDX-License-Identifier: Apache-2.0
// Records: their values by key as raw numbers, their fields in physical units, and how they are found.
#include "FruSamples.h"
#include "support/LogCapture.h"

#include <gmock/gmock.h>

namespace
{

using namespace FruTest;
using namespace Ipmi;

const std::string kSupplyFields =
    "Overall Capacity: 750 W|Peak VA: 900 VA|Inrush Current: 25 A|Inrush Interval: 10 ms|"
    "Low End Input Voltage Range 1: 90 V|High End Input Voltage Range 1: 264 V|Low End Input Voltage Range 2: 100 V|"
    "High End Input Voltage Range 2: 120 V|Low End Input Frequency Range: 47 Hz|High End Input Frequency Range: 63 Hz|"
    "A/C Dropout Tolerance: 12 ms|Hot Swap Support: yes|Autoswitch: no|Power Factor Correction: no|"
    "Predictive Fail Support: no|Hold-up Time: 10 s|Peak Capacity: 2100 W|Combined Wattage Voltage 1: 5 V|"
    "Combined Wattage Voltage 2: -12 V|Total Combined Wattage: 1600 W|Predictive Fail Tachometer Lower Threshold: 20 "
    "RPS";

TEST(FruRecords, ValuesOfEveryKeyOfEveryType)
{
    const IpmiFruMulti area = areaOf<IpmiFruMulti>(kRecords);
    EXPECT_EQ(oneLine(getters(area)),
              "0=750|1=900|2=25|3=10|4=9000|5=26400|6=10000|7=12000|8=47|9=63|10=12|11=false|12=true|13=true|14=false|"
              "15=false|16=10|17=2100|18=5 V|19=-12 V|20=1600|" // of supplies
              "22=yes|23=1|24=-500|25=-1000|26=-1|27=120|28=10|29=33500|30=1|31=-500|32=-1000|33=-1|34=120|35=10|"
              "36=33500"); // of outputs and loads
    for (int key = -2; key < 50; ++key) {
        const auto asked = static_cast<FruKey>(key);
        EXPECT_EQ(area.getPowerSupplyValue(nullptr, asked) + area.getDCOutputValue(nullptr, asked) +
                      area.getDCLoad(nullptr, asked) + area.getManagementAccessValue(kDc.data(), asked) +
                      area.getExtendedCompatValue(kDc.data(), asked) + area.getOEMValue(kDc.data(), asked),
                  "");
    }
}

TEST(FruRecords, FieldsOfEveryTypeInPhysicalUnits)
{
    const std::string load = "Output Number: 1|Nominal Voltage: -5 V|Specified Minimum Voltage: -10 V|"
                             "Specified Maximum Voltage: -0.01 V|Specified Ripple and Noise pk-pk: 0.12 V|"
                             "Minimum Current Load: 0.01 A|Maximum Current Load: 33.5 A",
                      maker = "Manufacturer ID: Intel Corporation (code 343)|",
                      compatibility = maker + "Entity ID Code: Power Supply (code 10)|Compatibility Base: 2|"
                                              "Compatibility Code Start Value: 3|Code Range Mask: ff01 (binary)";
    const Bytes compatible{0x57, 0x01, 0x00, 0x0a, 0x02, 0x83, 0xff, 0x01};
    const struct {
        std::uint8_t type;
        Bytes data;
        const char* name;
        std::string fields;
    } rows[] = {
        {0x00, kSupply, "Power Supply Information", kSupplyFields},
        {0x01, kDc, "DC Output",
         "Standby: yes|Output Number: 1|Nominal Voltage: -5 V|Maximum Negative Voltage Deviation: -10 V|"
         "Maximum Positive Voltage Deviation: -0.01 V|Ripple and Noise pk-pk: 0.12 V|Minimum Current Draw: 0.01 A|"
         "Maximum Current Draw: 33.5 A"},
        {0x02, kDc, "DC Load", load},
        {0x02, joined({kDc, {0xee}}), "DC Load", load + "|Data: ee (binary)"},
        {0x03, {1, 'u', 0xe9}, "Management Access Record", "System Management URL: u\u00e9 (latin-1)"},
        {0x03, {7, 0xab, 0x01}, "Management Access Record", "System Unique ID: ab01 (binary)"},
        {0x03, {8, 0xab}, "Management Access Record", "Sub-Record Type: 0x08 (code 8)|Data: ab (binary)"},
        {0x04, compatible, "Base Compatibility Record", compatibility},
        {0x05, compatible, "Extended Compatibility Record", compatibility},
        {0x09, {0xab}, "Extended DC Output", "Data: ab (binary)"},
        {0xbf, {0xab}, "Reserved", "Data: ab (binary)"},
        {0xc0, kOem, "OEM", maker + "Data: abcd (binary)"},
        {0xff, {0xff, 0xff, 0xff}, "OEM", "Manufacturer ID: 16777215 (code 16777215)"},
        {0xff, {0xff, 0xff}, "OEM", "Data: ffff (binary)"},
    };
    std::vector<Bytes> all;
    Texts together;
    for (const auto& row : rows) {
        all.push_back(record(row.type, row.data, &row == std::end(rows) - 1));
        together.push_back(row.fields);
    }
    const auto area = areaOf<IpmiFruMulti>(joined(all));
    const auto records = area.records();
    ASSERT_EQ(records.size(), std::size(rows));
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(std::pair(records[i].type, records[i].name), std::pair(rows[i].type, std::string(rows[i].name)));
        EXPECT_EQ(oneLine(lines(records[i].fields)), rows[i].fields);
    }
    EXPECT_EQ(oneLine(lines(area.fields())), oneLine(together));
}

Texts allOf(const Bytes& supply)
{
    const auto area = areaOf<IpmiFruMulti>(record(0, supply, true));
    Texts all = getters(area);
    for (const std::string& line : lines(area.fields()))
        all.push_back(line);
    return all;
}

/// What `after` says otherwise, and "-name" of what it does not say any more.
std::string difference(const Texts& before, const Texts& after)
{
    Texts texts;
    const auto nameOf = [](const std::string& text) { return text.substr(0, text.find_first_of(":=")); };
    for (const std::string& text : after)
        if (std::ranges::find(before, text) == before.end())
            texts.push_back(text);
    for (const std::string& text : before)
        if (std::ranges::find(after, nameOf(text), nameOf) == after.end())
            texts.push_back('-' + nameOf(text));
    return oneLine(texts);
}

/// Values that are unspecified, or depend on others.
TEST(FruRecords, WhatChangesWithTheBytesOfASupply)
{
    const std::string volts = "Combined Wattage Voltage ", fails = "Predictive Fail Support: yes",
                      threshold = "|-Predictive Fail Tachometer Lower Threshold";
    const std::pair<Patch, std::string> rows[] = {
        {{{2, 0xff}, {3, 0xff}}, "1=65535|-Peak VA"},
        {{{4, 0xff}}, "2=255|-Inrush Current"},
        {{{10, 0}, {11, 0}}, "6=0|-Low End Input Voltage Range 2"},
        {{{12, 0}, {13, 0}}, "7=0|-High End Input Voltage Range 2"},
        {{{14, 0}}, "8=0|-Low End Input Frequency Range"}, // direct current
        {{{15, 0}}, "9=0|-High End Input Frequency Range"},
        {{{18, 0xff}, {19, 0xff}}, "16=15|17=4095|-Hold-up Time|-Peak Capacity"},
        {{{21, 0}, {22, 0}}, "20=0|-" + volts + "1|-" + volts + "2|-Total Combined Wattage"},
        {{{20, 0x3f}}, "18=3.3 V|19=n/a|" + volts + "1: 3.3 V|" + volts + "2: 0x0f (code 15)"},
        {{{20, 0x04}}, "18=12 V|19=n/a|" + volts + "1: 12 V|" + volts + "2: 0x04 (code 4)"},
        {{{17, 0x00}, {23, 0}}, "12=fase|13=false|Hot Swap Support: no" + threshold},
        {{{17, 0x0a}}, "14=true|Power Factor Correction: yes"},
        {{{17, 0x0c}}, "Autoswitch: yes"},
        {{{17, 0x09}}, "15=true|21=One pulse per rotation|Tachometer Pulses per Rotation: 1|" + fails},
        {{{17, 0x19}}, "11=true|15=true|21=Two pulses per rotation|Tachometer Pulses per Rotation: 2|" + fails},
        {{{17, 0x09}, {23, 0}},
         "15=true|21=Failure on pin assertion|Predictive Fail Polarity: asserted on failure (code 0)|" + fails +
             threshold},
        {{{17, 0x19}, {23, 0}},
         "11=true|15=true|21=Failure on pin de-assertion|Predictive Fail Polarity: de-asserted on failure (code 1)|" +
             fails + threshold},
    };
    for (const auto& [patch, expected] : rows)
        EXPECT_EQ(difference(allOf(kSupply), allOf(changed(kSupply, patch))), expected);
}

TEST(FruRecords, SearchEndsAtTheEndMarkAtNothingAndAtTheEnd)
{
    const Bytes load = record(2, kDc), last = record(3, {1, 'x'}, true), none = record(4, {});
    const struct {
        Bytes bytes;
        bool present; // type 1, behind them
        int complaints = 0;
    } rows[] = {{{}, true}, {load, true}, {joined({load, last}), false}, {none, false, 1}, {last, false}};
    for (const auto& row : rows) {
        const Support::LogCapture log;
        const auto area = areaOf<IpmiFruMulti>(joined({row.bytes, record(1, kDc)}));
        EXPECT_EQ(area.isMultiRecordTypePresent(1), row.present);
        EXPECT_EQ(area.getValue(1, kFruOutputNumber), row.present ? "1" : "");
        const std::string text = ": Multi FRU record len is equal to zero, not valid.";
        EXPECT_EQ(log.count(LOG_ERR, "isMultiRecordTypePresent" + text), row.complaints);
        EXPECT_EQ(log.count(LOG_ERR, "getValue" + text), row.complaints);
        EXPECT_FALSE(area.isMultiRecordTypePresent(0)) << "the zeros behind the end are no record";
    }
    const Support::LogCapture log;
    EXPECT_TRUE(areaOf<IpmiFruMulti>(record(1, {}, true)).isMultiRecordTypePresent(1));
    EXPECT_TRUE(log.lines().empty());
    EXPECT_EQ(areaOf<IpmiFruMulti>(record(1, {}, true)).getValue(1, kFruOutputNumber), "");
    EXPECT_EQ(log.lines().size(), 1u);
}

TEST(FruRecords, AreLoggedInLinesOf32)
{
    const Support::LogCapture log;
    Bytes bytes(34, 0x0f);
    bytes[33] = 0xab;
    areaOf<IpmiFruMulti>(bytes).dump();
    IpmiFruMulti().dump();
    Texts texts;
    for (const auto& line : log.lines())
        texts.push_back(std::to_string(line.priority) + line.text);
    const std::string area = "7Multi Record Info Area : ";
    EXPECT_EQ(oneLine(texts), oneLine({area + "length=0x22", area + "Data 0x0: FFFF FFFF FFFF FFFF FFFF FFFF FFFF FFFF",
                                       area + "Data 0x20: FAB", area + "length=0x00"}));
}

} // namespace
