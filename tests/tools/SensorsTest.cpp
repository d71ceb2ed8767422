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
#include <sstream>
#include <tuple>

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
    std::istringstream rows(
        "1 12 12 | 0.5 12 12.0 | 0.063 12.096 12.096 | 0.001 -0.0001 0.000 | 1 -0.0 0 | 1 -0.4 -0.4 | "
        "0.25 -0.25 -0.25 | 0.00002 0.00004 0.00004 | 0.3333333333333333 0.3333333333333333 0.333 | "
        "100 1200 1200 | 1 1e12 1e+12 | 1 -999999999999 -999999999999 | 1 nan | 1 -inf");
    for (std::string row; std::getline(rows, row, '|');) { // the step, the value, its text
        std::string step, value, text;
        std::istringstream(row) >> step >> value >> text;
        SensorView view = viewOf(std::stod(value));
        view.step = std::stod(step);
        EXPECT_EQ(view.valueText(), text);
        EXPECT_EQ(view.withUnit(*view.value), text.empty() ? "" : text + " Volts");
    }
}

TEST(SensorViewTest, OnlyWhatComparesWithThresholdsGivesANumber)
{
    // event type and unit of the record
    for (const auto& [type, unit, shown] : {std::tuple(1, 4, "Volts"), {1, 0, ""}, {0x6f, 4, ""}}) {
        auto record = fullRecord();
        record[13] = static_cast<unsigned char>(type);
        record[21] = static_cast<unsigned char>(unit);
        Ipmi::IpmiThresholdSensor threshold(record.size(), record.data(), 0);
        Ipmi::IpmiDiscreteSensor discrete(record.size(), record.data(), 0);
        const SensorView view(type == 1 ? static_cast<Ipmi::IpmiSensor&>(threshold) : discrete);
        EXPECT_EQ(view.isNumeric, type == 1);
        EXPECT_EQ(view.unit, shown);
    }
}

TEST(SelSensorNamesTest, SensorsAreFoundByGeneratorAndNumber)
{
    const SelSensorNames names(fullRecord());
    EXPECT_EQ(names.name(0x0020, 3) + names.name(0x0c20, 3), "VV") << "two bits are reserved";
    for (const auto& [generator, number] : {std::pair(0x0020U, 4U), {0x0022U, 3U}, {0x0120U, 3U}, {0x1020U, 3U}})
        EXPECT_EQ(names.name(generator, number), "") << generator << ' ' << number;
}

TEST(SensorTableTest, ColoursSayHowBadItIs)
{
    using enum Colour;
    const std::pair<Colour, std::vector<std::string>> rows[] = {
        {kFaint, {""}},
        {kGreen, {"ok"}},
        {kYellow, {"lower non-critical", "upper non-critical"}},
        {kRed, {"lower critical", "upper critical", "upper non-recoverable"}},
        {kNone, {"0,7", "none"}},
    };
    for (const auto& [colour, states] : rows)
        for (const std::string& state : states)
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
    const std::pair<const char*, std::vector<std::uint8_t>> rows[] = {
        {"device-specific code", {0x01, 0x7e}},
        {"command-specific code", {0x80, 0xbe}},
        {"reserved code", {0x7f, 0xbf, 0xd7, 0xfe}},
    };
    for (const auto& [name, codes] : rows)
        for (const std::uint8_t code : codes)
            EXPECT_EQ(completionCodeName(code), name) << int{code};
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
