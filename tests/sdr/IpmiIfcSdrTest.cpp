// SPDX-License-Identifier: Apache-2.0
// Reading the repository: info, headers, records, and what is kept of them.
#include "sdr/IpmiIfcSdr.h"

#include "faults/Model.h"
#include "support/FailingNew.h"

#include <cstdio>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

// --- whole reads

TEST(SdrWholeRead, ChecksTheInfo)
{
    static constexpr auto kNames = "result entries infos-asked-for result-of-another-read";
    const auto info = [](std::uint64_t count, Sim::FaultAction action) {
        return Faults{fault(kGetInfo, 1, count, std::move(action))};
    };
    const auto version = [&info](std::uint8_t value) { return info(0, {.changed = {{1, value}}}); };
    const Case rows[] = {
        {"as it should be", {}, {0, 1, 1, 0}},
        {"old", version(2), {0, 1, 1, 0}},
        {"too old, said once per process", version(1), {0, 0, 1, -1}, LOG_ERR},
        {"as old", version(0x11), {0, 0, 1, -1}},
        {"too new", version(3), {0, 0, 1, -1}, LOG_WARNING},
        {"empty", info(0, {.changed = {{2, 0}}}), {0, 0, 1, -1}},
        // One without version is fetched once more.
        {"no version at first", info(1, {.changed = {{1, 0}}}), {0, 1, 2, 0}},
        {"no version", version(0), {0, 0, 2, -1}},
        // 0 whatever becomes of a good code's answer: this is meant.
        {"short", info(0, cut(14)), {0, 0, 1, -1}, LOG_WARNING},
        {"long", info(0, lengthened(32)), {0, 0, 1, -1}, LOG_WARNING},
        {"refused", info(0, code(0xc1)), {-1, 0, 1, -1}},
    };
    for (const auto& [name, faults, expected, complaint] : rows) {
        SCOPED_TRACE(name);
        SdrBmc node(plainRecords(1));
        node.restart(faults);
        const int result = IpmiIfcSdrGetInfo(0), infos = node.asked(kGetInfo);
        EXPECT_EQ(node.priorities(), complaint ? Priorities{complaint} : Priorities{});
        EXPECT_EQ(facts(kNames, result, node.repository().entries, infos, IpmiIfcSdrGetAll(0)),
                  facts(kNames, expected));
    }
    SdrBmc node(plainRecords(1));
    ipmiifc_resp refused, inconsistent, nowhere;
    for (auto* resp : {&refused, &inconsistent, &nowhere})
        resp->datalen = 15, resp->data[1] = 0x51;
    refused.cc = 0xc1, inconsistent.data[0] = 0xd4, nowhere.node = 4;
    for (auto* resp : {&refused, &inconsistent, &nowhere, static_cast<ipmiifc_resp*>(nullptr)})
        EXPECT_EQ(IpmiIfcRhGetSdrInfo(resp), -1);
    EXPECT_EQ(node.priorities(), (Priorities{LOG_WARNING, LOG_WARNING}));
}

TEST(SdrWholeRead, KeepsTheOldRecordsUntilTheHeadersAreRead)
{
    SdrBmc node(plainRecords(3));
    const SdrRepository& lists = node.repository();
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(lists.sdr_oem->record_id, 3); // newest first; the first is known by the id asked for
    EXPECT_EQ(lists.sdr_oem->next->next->record_id, 0);

    node.restart({sdr(2, 0, code(0xd5))});
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(lists.entries, 3u);
    EXPECT_EQ(lists.header_cnt, 1u);

    node.restart({sdr(5, 1, code(0xcb))}); // the second record, after three headers
    EXPECT_EQ(IpmiIfcSdrGetAll(0), 0);
    EXPECT_EQ(lists.entries, 2u);
    EXPECT_EQ(node.priorities(), Priorities{LOG_ERR});

    node.restart({fault(kReserve, 1, 0, code(0xc1))});
    EXPECT_EQ(IpmiIfcSdrReserve(0), -1);
    EXPECT_NE(IpmiIfcSdrReservation(0), 0);
    IpmiIfcSdrCleanUpHeaders(0);
    EXPECT_EQ(IpmiIfcSdrReadAll(0), -1);
    EXPECT_EQ(node.priorities(), Priorities{LOG_ERR});
}

TEST(SdrHeaderWalk, TriesFourTimesAndEndsInTime)
{
    static constexpr auto kNames = "result headers requests reservations";
    const Case rows[] = {
        {"more than counted", {}, {0, 3, 3, 0}},
        {"silent four times", {sdr(2, 4, kSilence)}, {-1, 1, 5, 0}},
        {"refused three times each", {sdr(1, 3, code(0xc3)), sdr(5, 3, code(0xcb))}, {0, 3, 9, 0}},
        {"no new reservation", {sdr(2, 1, kLost), fault(kReserve, 1, 0, kSilence)}, {-1, 1, 5, 4}},
        {"each is lost once", {sdr(2, 0, kLost, 2)}, {0, 3, 5, 2}},
        {"longer than asked for", {sdr(1, 1, lengthened(40))}, {0, 3, 3, 0}},
        {"short", {sdr(1, 1, cut(7))}, {0, 3, 4, 0}},
        {"round to itself", {sdr(2, 1, kToSecond)}, {0, 2, 2, 0}},
    };
    for (const auto& [name, faults, expected, complaint] : rows) {
        SCOPED_TRACE(name);
        SdrBmc node(plainRecords(5));
        const SdrRepository& lists = node.repository();
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        node.claim(3);
        node.restart(faults);
        const int result = IpmiIfcSdrGetHeaders(0);
        EXPECT_EQ(facts(kNames, result, lists.header_cnt, node.asked(kGetSdr), node.asked(kReserve)),
                  facts(kNames, expected));
        EXPECT_EQ(lists.sdr_headers_valid, result == 0 ? 1 : 0);
        EXPECT_EQ(node.sleeps(), node.asked(kReserve));
        EXPECT_EQ(node.debugLines("IpmiIfcSdrGetHeaders: retry expired."), result == 0 ? 0 : 1);
        for (std::uint32_t i = 0; i < lists.header_cnt; ++i)
            EXPECT_EQ(lists.sdr_headers[i].recordId() * 256 + lists.sdr_headers[i].length(), (i + (i > 0)) * 256 + 11);
    }
    SdrBmc node(plainRecords(150));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    node.restart({sdr(150 + 2, 0, kLost, 2)}); // once the headers are read
    EXPECT_EQ(IpmiIfcSdrGetAll(0), -1);
    EXPECT_EQ(node.repository().entries, 100u);
    EXPECT_EQ(node.asked(kGetSdr), 350);
    EXPECT_EQ(node.priorities(), Priorities{LOG_ERR});
    node.restart({sdr(2, 0, kLost, 2)});
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), -1);
    EXPECT_EQ(node.asked(kReserve), 99);
}

TEST(SdrRecords, ReadsNoMoreOnceTheListsAreFull)
{
    std::vector<Bytes> records;
    for (std::uint16_t id = 1; id <= 1200; ++id)
        records.push_back(patched(plainRecord(id, 32, 0x02), {{23, 15}}));
    SdrBmc node(records);
    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    node.claim(0xffff);
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), 0);
    node.restart();
    EXPECT_EQ(IpmiIfcSdrReadAll(0), 0);
    EXPECT_EQ(node.repository().entries, SdrRepository::kMostEntries);
    EXPECT_EQ(node.asked(kGetSdr), 2 * (static_cast<int>(SdrRepository::kMostEntries) / 15 + 1));
    EXPECT_EQ(node.priorities(), Priorities{LOG_WARNING});
    EXPECT_EQ(IpmiIfcSdrListAdd(0, new ipmiifc_sdr_list), -1);
    EXPECT_EQ(node.repository().entries, SdrRepository::kMostEntries);
}

// --- what is kept

TEST(SdrRepository, FilesEachTypeNewestFirst)
{
    std::vector<Bytes> records;
    for (const std::uint8_t type : Bytes{1, 2, 3, 8, 9, 0x10, 0x11, 0x12, 0xc0, 0, 4, 0x13, 0xc1, 0xff})
        records.push_back(plainRecord(static_cast<std::uint16_t>(records.size()), 5, type));
    for (const std::size_t size : {255U, 256U, 260U}) // their length byte has room for the first one only
        records.push_back(plainRecord(static_cast<std::uint16_t>(records.size()), size));
    SdrBmc node(records);
    SdrRepository& lists = node.repository();
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(lists.entries, records.size() - 2);
    EXPECT_EQ(node.priorities(), (Priorities{LOG_ERR, LOG_ERR}));
    std::vector<Bytes> types;
    for (const auto* entry :
         {lists.sdr_full, lists.sdr_compact, lists.sdr_eventonly, lists.sdr_entity_assoc, lists.sdr_generic_locator,
          lists.sdr_fru_locator, lists.sdr_mc_locator, lists.sdr_oem, lists.sdr_other})
        for (types.emplace_back(); entry; entry = entry->next)
            types.back().push_back(entry->record_type);
    EXPECT_EQ(types, (std::vector<Bytes>{
                         {1}, {2}, {3}, {9, 8}, {0x10}, {0x11}, {0x12}, {0xc0, 0xc0}, {0xff, 0xc1, 0x13, 4, 0}}));
    ipmiifc_sensor_reading_list reading;
    reading.sdr = lists.sdr_full;
    lists.sdr_full->sreading = &reading;
    EXPECT_EQ(IpmiIfcSdrCleanUpAll(0), 0);
    EXPECT_EQ(reading.sdr, nullptr);
    EXPECT_EQ(IpmiIfcSdrListAdd(0, nullptr), -1);
    EXPECT_EQ(lists.entries, 0u);
    EXPECT_FALSE(lists.sdr_full || lists.sdr_oem || lists.sdr_other);
}

/// Of each sensor: its bytes of sharing, its number, its entity's instance and its id.
std::string sharesOf(std::size_t sharingAt)
{
    std::string shares;
    const auto sensors = IpmiIfc::getSensors(0);
    for (auto sensor = sensors.rbegin(); sensor != sensors.rend(); ++sensor) {
        const unsigned char* record = (*sensor)->getSdr();
        char text[sizeof "ff ff ff ff "];
        std::snprintf(text, sizeof text, "%02x %02x %02x %02x ", record[sharingAt], record[sharingAt + 1], record[7],
                      record[9]);
        EXPECT_EQ((*sensor)->getSensorRecordNumber(), 0);
        shares += text + (*sensor)->getSensorIdString() + '|';
    }
    return shares;
}

TEST(SdrRepository, ExpandsSharedRecords)
{
    // Bits of direction and increment do not count for names; 2 and 3 are reserved types of modifiers; a count of 1 or
    // 0 is not shared, whatever its offset.
    using Row = std::tuple<unsigned, unsigned, unsigned, unsigned, const char*, const char*>;
    const Row rows[] = {
        // sharing, offset, number, instance, id; what sharesOf tells
        {0x03, 5, 16, 5, "Temp ", "03 05 10 05 Temp 5|02 06 11 05 Temp 6|01 07 12 05 Temp 7|"},
        {0x02, 0xff, 0xfe, 0xff, "Fan", "02 ff fe ff Fan127|01 80 ff 80 Fan0|"},
        {0xd3, 0x80 | 25, 0xff, 5, "T   ", "d3 99 ff 05 T Z|d2 9a 00 06 T AA|d1 9b 01 07 T AB|"},
        {0x22, 1, 1, 1, "T", "22 01 01 01 T|21 02 02 01 T|"},
        {0x33, 1, 1, 1, "T", "33 01 01 01 T|32 02 02 01 T|31 03 03 01 T|"},
        {0x01, 0x81, 1, 1, "HDD0", "01 81 01 01 HDD0|"},
        {0x00, 7, 1, 1, "HDD0", "00 07 01 01 HDD0|"},
        {0x02, 1, 1, 1, "", "02 01 01 01 |01 02 02 01 |"},
    };
    for (const auto& [sharing, offset, number, instance, id, shares] : rows)
        for (const auto& [type, at] : {std::pair(kCompact, 23U), {kEventOnly, 12U}}) {
            SCOPED_TRACE(testing::Message() << shares << " in " << int{type});
            const Changes shared{{at, sharing}, {at + 1, offset}, {7, number}, {8, 7},
                                 {5, kBmc},     {9, instance},    {11, 0x6f},  {13, 0x6f}};
            SdrBmc node({withId(zeroRecord(type, shared), id)});
            EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
            EXPECT_EQ(sharesOf(at), shares);
        }
}

TEST(SdrRepository, ReusesItsHeaderArrayWhileThatIsLargeEnough)
{
    SdrRepository repository;
    ASSERT_TRUE(repository.makeHeaders(8));
    const auto* array = repository.sdr_headers;
    repository.header_cnt = 5; // a walk found fewer
    ASSERT_TRUE(repository.makeHeaders(5));
    EXPECT_EQ(repository.sdr_headers, array);
    ASSERT_TRUE(repository.makeHeaders(6)); // the five known to fit are too few
    EXPECT_EQ(repository.header_cnt, 6u);
}

// --- no memory

/// A threshold sensor with hysteresis, three shared slots, an event-only sensor, a locator.
TEST(SdrLoad, SurvivesAnyFailedAllocation)
{
    SdrBmc node(machineOf({sensorRecord(Kind::full, 0x01, {{kCapabilitiesAt, 0x58}, {42, 2}, {43, 3}}, 1),
                           sensorRecord(Kind::compact, 0x6f, {{kNumberAt, 0x20}, {23, 3}, {24, 0x80}}, 2),
                           sensorRecord(Kind::eventOnly, 0x6f, {{kNumberAt, 0x40}}, 3), plainRecord(4, 32, 0x12)}));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    const auto healthy = FaultTest::currentModel();
    bool failed = true;
    for (int nth = 1; failed && !HasFailure(); ++nth) {
        SCOPED_TRACE(nth);
        node.restart();
        IpmiIfcSdrCleanUpHeaders(0);
        {
            const Support::FailingNew memory(nth);
            IpmiIfcSdrGetInfo(0);
            failed = memory.failed();
        }
        EXPECT_TRUE(FaultTest::currentModel() == healthy || !node.sim.log().complaints().empty());
        node.restart();
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(FaultTest::currentModel(), healthy);
        EXPECT_TRUE(node.complaints().empty());
    }
}

} // namespace
