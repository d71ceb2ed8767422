// SPDX-License-Identifier: Apache-2.0
// Times of the event log, and what is new in it.
#include "monitor/SelNews.h"
#include "sel/SelSelection.h"
#include "sel/SelTimestamp.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>
#include <tuple>

namespace Tool
{

namespace
{

void setZone(const char* zone)
{
    ::setenv("TZ", zone, 1);
    ::tzset();
}

/// The log by the first bytes of its records.
SelRecords logOf(const std::vector<int>& ids)
{
    SelRecords records;
    for (const int id : ids) {
        const Ipmi::sel_event_record record{{static_cast<unsigned char>(id), 0, 2}};
        records.emplace_back(new Ipmi::IpmiSelData(&record, 0));
    }
    return records;
}

std::vector<int> idsOf(const SelRecords& records)
{
    std::vector<int> ids;
    for (const auto& record : records)
        ids.push_back(record->recordId());
    return ids;
}

} // namespace

TEST(SelTimestampTest, TextsAndZones)
{
    const std::tuple<std::uint32_t, const char*, std::string, std::string> rows[] = {
        // seconds, zone, text, and what JSON has behind it; nothing: null
        {1704616448, "XYZ-05:30", "2024-01-07 14:04:08", "+05:30"},
        {1704616448, "XYZ+05:00", "2024-01-07 03:34:08", "-05:00"},
        {1704616448, "XYZ+00:30", "2024-01-07 08:04:08", "-00:30"},
        {0x20000001, "UTC0", "1987-01-05 18:48:33", "+00:00"},
        {0x20000000, "UTC0", "pre-init +536870912 s", ""},
        {0xffffffff, "UTC0", "unknown", ""},
        {0xfffffffe, "UTC0", "2106-02-07 06:28:14", "+00:00"},
    };
    for (auto [seconds, zone, local, shift] : rows) {
        setZone(zone);
        EXPECT_EQ(SelTimestamp(seconds).text(false), local);
        EXPECT_EQ(SelTimestamp(seconds).json(false), shift.empty() ? Json() : Json(local.replace(10, 1, "T") + shift));
    }
}

TEST(SelTimestampTest, PointsAsUsersWriteThem)
{
    const std::tuple<std::string, std::int64_t, int> rows[] = {
        // what is written; the point in UTC; how many hours later it is in the zone of this test
        {"1970-01-02", 86400, 5},
        {"1970-01-02 00:01", 86460, 5},
        {"1970-01-02T00:01", 86460, 5},
        {"1970-01-02 00:01:02", 86462, 5},
        {"1970-01-02T00:01:02Z", 86462, 0},
        {"1970-01-02T00:01:02-01:00", 90062, 0},
        {"1970-01-02 00:01+0030", 84660, 0},
        {"2024-02-29", 1709164800, 5},
    };
    setZone("XYZ+05:00");
    for (const auto& [text, utc, later] : rows)
        for (const bool inUtc : {true, false})
            EXPECT_EQ(pointFrom(text, inUtc), utc + (inUtc ? 0 : later * 3600)) << text;
    for (const char* text : {"2023-02-29", "2024-02-30T00:00Z", "2024-13-01", "2024-01-31T25:00", "2024",
                             "2024-01-31 12:00 x", "2024-01-31 12:00 +01:00x", ""})
        EXPECT_FALSE(pointFrom(text, true) || pointFrom(text, false)) << text;
}

TEST(SelViewTest, WhatIsAssertedHasTheColourOfItsThreshold)
{
    using enum Colour;
    for (const auto& [offset, severity, colour] :
         {std::tuple(0x00, "non-critical", kYellow), {0x02, "critical", kRed}, {0x0b, "non-recoverable", kRed}}) {
        for (const bool asserted : {true, false}) {
            const Ipmi::sel_event_record record{{1, 0, 2, 8, 0x5e, 0x9a, 0x65, 0x20, 0, 4, 1, 3,
                                                 static_cast<unsigned char>(asserted ? 0x01 : 0x81),
                                                 static_cast<unsigned char>(offset)}};
            const Ipmi::IpmiSelData data(&record, 0);
            const auto cells = cellsOf(data, {}, {.utc = true, .raw = false});
            EXPECT_EQ(cells.at(1).text + cells.at(2).text + cells.at(5).text,
                      std::string("2024-01-07 08:17:12sensor 0x03") + severity);
            EXPECT_EQ(cells.at(5).colour, asserted ? colour : Colour::kNone);
        }
    }
}

TEST(SelNewsTest, EachRecordIsNewsOnce)
{
    using enum SelNews::Read;
    struct Look {
        std::vector<int> log;
        SelNews::Read read;
        std::vector<int> news;
    };
    const Look looks[] = {
        {{1, 2, 3}, kWhole, {}}, // what is there at first
        {{1, 2, 3, 4, 5}, kWhole, {4, 5}},
        {{1, 2}, kInPart, {}},             // the rest cannot be read
        {{1, 2, 3, 4, 5, 6}, kWhole, {6}}, // and is no news when it can again
        {{6}, kWhole, {}},
        {{1, 6}, kWhole, {1}}, // was deleted, and comes again
        {{}, kWhole, {}},
        {{6, 1}, kWhole, {6, 1}},
    };
    SelNews news;
    EXPECT_TRUE(news.isOld(*logOf({9})[0])) << "nothing is known yet";
    for (const auto& [log, read, expected] : looks) {
        EXPECT_EQ(idsOf(news.take(logOf(log), read)), expected);
        EXPECT_FALSE(news.isOld(*logOf({9})[0]));
    }
    EXPECT_TRUE(news.isOld(*logOf({1})[0]));
}

} // namespace Tool
