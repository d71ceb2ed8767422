// SPDX-License-Identifier: Apache-2.0
// Sensors as they are shown, and the words and numbers around them.
#include "base/Number.h"
#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiThresholdSensor.h"
#include "node/CompletionCode.h"
#include "sel/SelSensorNames.h"
#include "sensors/SensorFacts.h"
#include "sensors/SensorHistory.h"
#include "sensors/SensorTable.h"

#include <cmath>
#include <gtest/gtest.h>

namespace Tool
{

namespace
{

/// A full record: the value is the raw byte, in volts.
std::array<unsigned char, 49> fullRecord(unsigned char analogFlags = 0)
{
    std::array<unsigned char, 49> record{1, 0, 0x51, 1, 44, 0x20, 0, 3, 7, 1, 0x7f, 0x68, 2, 1};
    record[21] = 4; // volts
    record[24] = 1; // M
    record[30] = analogFlags;
    record[31] = 100; // nominal, normal maximum and minimum, maximum and minimum
    record[32] = 110;
    record[33] = 90;
    record[34] = 255;
    record[47] = 0xc1;
    record[48] = 'V';
    return record;
}

SensorView viewOf(std::optional<double> value, const std::string& state = "ok")
{
    const auto record = fullRecord();
    Ipmi::IpmiThresholdSensor sensor(record.size(), record.data(), 0);
    SensorView view(sensor);
    view.value = value;
    view.state = state;
    return view;
}

} // namespace

TEST(SensorViewTest, AsManyDigitsAsTheStepsHave)
{
    struct Row {
        double step, value;
        std::string text;
    };
    const Row rows[] = {{1, 12, "12"},
                        {0.5, 12, "12.0"},
                        {0.063, 12.096, "12.096"},
                        {0.001, -0.0001, "0.000"},
                        {1, -0.0, "0"},
                        {1, -0.4, "-0.4"},
                        {0.25, -0.25, "-0.25"},
                        {0.00002, 0.00004, "0.00004"},
                        {1. / 3, 1. / 3, "0.333"},
                        {100, 1200, "1200"},
                        {1, 1e12, "1e+12"},
                        {1, -999999999999., "-999999999999"},
                        {1, NAN, ""},
                        {1, -INFINITY, ""}};
    for (const Row& row : rows) {
        SensorView view = viewOf(row.value);
        view.step = row.step;
        EXPECT_EQ(view.valueText(), row.text);
        EXPECT_EQ(view.withUnit(row.value), row.text.empty() ? "" : row.text + " Volts");
    }
}

TEST(SensorViewTest, OnlyWhatComparesWithThresholdsGivesANumber)
{
    struct Row {
        unsigned char eventType, unit;
        bool numeric;
        std::string shownUnit;
    };
    for (const Row& row : {Row{1, 4, true, "Volts"}, {1, 0, true, ""}, {0x6f, 4, false, ""}}) {
        auto record = fullRecord();
        record[13] = row.eventType;
        record[21] = row.unit;
        Ipmi::IpmiThresholdSensor threshold(record.size(), record.data(), 0);
        Ipmi::IpmiDiscreteSensor discrete(record.size(), record.data(), 0);
        const SensorView view(row.eventType == 1 ? static_cast<Ipmi::IpmiSensor&>(threshold) : discrete);
        EXPECT_EQ(view.isNumeric, row.numeric);
        EXPECT_EQ(view.unit, row.shownUnit);
    }
}

TEST(SelSensorNamesTest, SensorsAreFoundByGeneratorAndNumber)
{
    const SelSensorNames names(fullRecord());
    EXPECT_EQ(names.name(0x0020, 3), "V");
    EXPECT_EQ(names.name(0x0c20, 3), "V") << "two bits are reserved";
    for (const auto& [generator, number] : {std::pair(0x0020U, 4U), {0x0022U, 3U}, {0x0120U, 3U}, {0x1020U, 3U}})
        EXPECT_EQ(names.name(generator, number), "") << generator << ' ' << number;
}

TEST(SensorTableTest, ColoursSayHowBadItIs)
{
    const std::pair<const char*, Colour> rows[] = {
        {"", Colour::kFaint},
        {"ok", Colour::kGreen},
        {"lower non-critical", Colour::kYellow},
        {"upper non-critical", Colour::kYellow},
        {"lower critical", Colour::kRed},
        {"upper critical", Colour::kRed},
        {"upper non-recoverable", Colour::kRed},
        {"0,7", Colour::kNone},
        {"none", Colour::kNone},
    };
    for (const auto& [state, colour] : rows)
        EXPECT_EQ(colourOf(state), colour) << state;
}

TEST(SensorTableTest, OwnersAreNamedWhenOneIsNotTheBmc)
{
    std::vector<SensorView> sensors{viewOf(1), viewOf({}, "")};
    EXPECT_EQ(ownerTexts(sensors), (std::vector<std::string>{"", ""}));
    EXPECT_EQ(
        sensorTable(sensors),
        "NUM   NAME  TYPE     VALUE        STATE\n0x03  V     Voltage      1 Volts  ok\n0x03  V     Voltage      -"
        "        -\n");
    sensors[1].lun = 1;
    EXPECT_EQ(ownerTexts(sensors), (std::vector<std::string>{"0x20/0", "0x20/1"}));
}

TEST(SensorHistoryTest, BarsBetweenSmallestAndLargest)
{
    SensorHistory history;
    const std::optional<double> values[] = {0, 7, {}, 3.4, 3.6, NAN, INFINITY};
    history.add({viewOf({})});
    EXPECT_EQ(history.bars(0, true), "");
    for (const auto& value : values)
        history.add({viewOf(value)});
    EXPECT_EQ(history.bars(0, true), " \u2581\u2588 \u2584\u2585  ");
    EXPECT_EQ(history.bars(0, false), " _# -=  ");
    for (std::size_t i = 0; i < SensorHistory::kLength; ++i)
        history.add({viewOf(5)});
    EXPECT_EQ(history.bars(0, false), std::string(SensorHistory::kLength, '_'));
    for (const double value : {-1.7e308, 1.7e308})
        history.add({viewOf(value)});
    EXPECT_EQ(history.bars(0, false), "==============_#") << "the distance of these two is no number";
}

TEST(SensorFactsTest, WhatTheRecordDoesNotSpecifyIsNull)
{
    for (unsigned char flags = 0; flags < 8; ++flags) {
        const auto record = fullRecord(flags);
        Ipmi::IpmiThresholdSensor sensor(record.size(), record.data(), 0);
        Facts facts;
        addRecordFacts(sensor, SensorView(sensor), facts);
        Json json;
        for (const Fact& fact : facts.all())
            json[fact.key] = fact.json;
        EXPECT_EQ(json["nominal"], (flags & 1) != 0 ? Json(100.0) : Json());
        EXPECT_EQ(json["normal_max"], (flags & 2) != 0 ? Json(110.0) : Json());
        EXPECT_EQ(json["normal_min"], (flags & 4) != 0 ? Json(90.0) : Json());
        EXPECT_EQ(json["sensor_max"], 255.0);
        EXPECT_EQ(json["record_type"], (Json{{"code", 1}, {"name", "full sensor"}}));
        EXPECT_EQ(json["flags"].size(), 8U) << json["flags"];
    }
}

TEST(CompletionCodeTest, KindsOfCodesWithoutANameOfTheirOwn)
{
    const std::pair<std::uint8_t, const char*> rows[] = {
        {0x00, "done"},          {0x01, "device-specific code"},  {0x7e, "device-specific code"},
        {0x7f, "reserved code"}, {0x80, "command-specific code"}, {0xbe, "command-specific code"},
        {0xbf, "reserved code"}, {0xc1, "invalid command"},       {0xd6, "sub-function disabled or unavailable"},
        {0xd7, "reserved code"}, {0xfe, "reserved code"},         {0xff, "unspecified error"},
    };
    for (const auto& [code, name] : rows)
        EXPECT_EQ(completionCodeName(code), name) << int{code};
    EXPECT_EQ(completionCodeText(0xc1), "completion code 0xc1, invalid command");
}

TEST(NumberTest, OnlyWholeWordsThatFit)
{
    const std::pair<const char*, int> rows[] = {{"0", 0},     {"255", 255},  {"0xff", 255}, {"0X0a", 10}, {"010", 10},
                                                {"256", -1},  {"0x100", -1}, {"", -1},      {"0x", -1},   {"-1", -1},
                                                {"+1", -1},   {" 1", -1},    {"1 ", -1},    {"1.0", -1},  {"0xg", -1},
                                                {"0x-1", -1}, {"ff", -1}};
    for (const auto& [word, value] : rows)
        EXPECT_EQ(byteFrom(word) ? int{*byteFrom(word)} : -1, value) << word;
    EXPECT_EQ(numberFrom<std::uint16_t>("0xffff"), 0xffff);
}

} // namespace Tool
