#include "sdr/IpmiIfcSdr.h"

#include "faults/Model.h"
#include "support/FailingNew.h"

#include <algorithm>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

Sim::FaultRule sdr(std::uint64_t nth, std::uint64_t count, Sim::FaultAction action)
{
    return fault(kGetSdr, nth, count, std::move(action));
}

/// Errors of the record read, whose texts begin alike.
Lines readErrors(const std::vector<const char*>& texts)
{
    Lines lines;
    for (const char* text : texts)
        lines.push_back({LOG_ERR, std::string("IpmiIfcSdrReadRecordId:") + text});
    return lines;
}

constexpr const char* kExpired = " retry expired.";

// --- repository info

TEST(SdrInfo, IsCheckedBeforeItIsStored)
{
    static const struct {
        const char* name;
        std::uint8_t cc, first, version;
        int size, node, result;
        const char* warning;
    } rows[] = {
        {"as it should be", 0, 0, 0x51, 15, 0, 0, nullptr},
        {"version 03h", 0, 0, 3, 15, 0, -1, "Unexpected SDR Repository info version 0x3 - discarding results "},
        {"completion code alone", 0, 0, 0x51, 1, 0, -1, "SDR response buffer was wrong size 1 (expecting f)"},
        {"long", 0, 0, 0x51, 32, 0, -1, "SDR response buffer was wrong size 20 (expecting f)"},
        {"a code", 0xc1, 0, 0x51, 15, 0, -1, "Unable to fetch SDR info - cc=0xc1"},
        {"two codes", 0, 0xd4, 0x51, 15, 0, -1, "Inconsistent SDR Response codes d4 != 0"},
        {"no such node", 0, 0, 0x51, 15, 4, -1, nullptr},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SdrBmc node({plainRecord(1)});
        ipmiifc_resp resp;
        resp.cc = row.cc, resp.datalen = row.size, resp.node = row.node;
        resp.data[0] = row.first, resp.data[1] = row.version, resp.data[2] = 1;
        EXPECT_EQ(IpmiIfcRhGetSdrInfo(&resp), row.result);
        EXPECT_EQ(IpmiIfc::getSdr(0).recordCount(), row.result == 0 ? 1 : 0);
        EXPECT_EQ(node.bmc.count() != 0, row.result == 0);
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.warning));
    }
    EXPECT_EQ(IpmiIfcRhGetSdrInfo(nullptr), -1);
}

TEST(SdrInfo, IsAskedForOnce)
{
    static const std::pair<Sim::FaultAction, int> rows[] = {{kSilence, -1}, {code(0xc1), -1}, {cut(14), 0}};
    for (const auto& [action, result] : rows) { // 0 whatever becomes of a good code's answer: this is meant
        SdrBmc node({plainRecord(1)});
        node.restart({fault(kGetInfo, 1, 0, action)});
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), result);
        EXPECT_EQ(node.bmc.count(), 1u);
    }
}

// --- whole reads

TEST(SdrWholeRead, ChecksVersionAndCount)
{
    const Faults noVersion{fault(kGetInfo, 1, 1, {.changed = {{1, 0}}})};
    const struct {
        std::uint8_t version;
        int records, result;
        Faults faults;
        int infos = 1;               ///< an info without version is fetched once more
        const char* error = nullptr; ///< once per process
    } rows[] = {{0x51, 1, 0, {}},           {0x02, 1, 0, {}},
                {0x51, 0, -1, {}},          {0x01, 1, -1, {}, 1, "IpmiIfcSdrGetAll: invalid version. version = 0x1"},
                {0x11, 1, -1, {}},          {0x51, 1, 0, noVersion, 2},
                {0x00, 1, -1, noVersion, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.version);
        SdrBmc node(machineOf(plainRecords(row.records), row.version));
        node.restart(row.faults);
        EXPECT_EQ(row.infos == 2 ? IpmiIfcSdrGetInfo(0) : IpmiIfcSdrGetAll(0), row.infos == 2 ? 0 : row.result);
        EXPECT_EQ(node.asked(kGetInfo), row.infos);
        EXPECT_EQ(node.repository().entries, row.result == 0 ? 1u : 0u);
        EXPECT_EQ(node.complaints(), line(LOG_ERR, row.error));
    }
}

TEST(SdrWholeRead, KeepsTheOldRecordsUntilTheHeadersAreRead)
{
    SdrBmc node(plainRecords(3));
    const SdrRepository& lists = node.repository();
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(lists.entries, 3u);
    EXPECT_EQ(lists.sdr_oem->record_id, 3); // newest first; the first is known by the id asked for
    EXPECT_EQ(lists.sdr_oem->next->next->record_id, 0);

    node.restart({sdr(2, 0, code(0xd5))});
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(lists.entries, 3u);
    EXPECT_EQ(lists.header_cnt, 1u);
    EXPECT_EQ(lists.sdr_headers_valid, 1);

    node.restart({sdr(5, 1, code(0xcb))}); // the second record, after three headers
    EXPECT_EQ(IpmiIfcSdrGetAll(0), 0);
    EXPECT_EQ(lists.entries, 2u);
    EXPECT_EQ(node.complaints(), readErrors({" sensor not found, record id: 2"}));

    node.restart({fault(kReserve, 1, 0, code(0xc1))});
    EXPECT_EQ(IpmiIfcSdrReserve(0), -1);
    EXPECT_NE(IpmiIfcSdrReservation(0), 0);
    IpmiIfcSdrCleanUpHeaders(0);
    EXPECT_EQ(IpmiIfcSdrReadAll(0), -1);
    EXPECT_EQ(node.complaints(), line(LOG_ERR, "IpmiIfcSdrReadAll: header_cnt == 0 or no header data"));
}

// --- header walk

TEST(SdrHeaderWalk, TriesFourTimesAndEndsInTime)
{
    static const Sim::FaultAction toItself{.changed = {{1, 2}, {2, 0}}};
    static const struct {
        const char* name;
        int records;
        std::uint16_t counted; ///< records that the info claims
        Faults faults;
        int result;
        std::uint32_t headers;
        int asked; ///< Get SDR requests
        int reserved = 0;
    } rows[] = {
        {"more than counted", 5, 2, {}, 0, 2, 2},
        {"silent three times", 3, 3, {sdr(2, 3, kSilence)}, 0, 3, 6},
        {"silent four times", 3, 3, {sdr(2, 4, kSilence)}, -1, 1, 5},
        {"refused three times each", 2, 2, {sdr(1, 3, code(0xc3)), sdr(5, 3, code(0xcb))}, 0, 2, 8},
        {"reservation lost once", 3, 3, {sdr(2, 1, kLost)}, 0, 3, 4, 1},
        {"no new reservation", 3, 3, {sdr(2, 1, kLost), fault(kReserve, 1, 0, kSilence)}, -1, 1, 5, 4},
        {"longer than asked for", 2, 2, {sdr(1, 1, lengthened(40))}, 0, 2, 2},
        {"round to itself", 3, 3, {sdr(2, 1, toItself)}, 0, 2, 2},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SdrBmc node(plainRecords(row.records));
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        node.claim(row.counted);
        node.restart(row.faults);
        EXPECT_EQ(IpmiIfcSdrGetHeaders(0), row.result);
        EXPECT_EQ(node.repository().header_cnt, row.headers);
        EXPECT_EQ(node.repository().sdr_headers_valid, row.result == 0 ? 1 : 0);
        EXPECT_EQ(node.asked(kGetSdr), row.asked);
        EXPECT_EQ(node.asked(kReserve), row.reserved);
        EXPECT_EQ(node.sleeps(), row.reserved);
        EXPECT_EQ(node.debugLines("IpmiIfcSdrGetHeaders: retry expired."), row.result == 0 ? 0 : 1);
        for (std::uint32_t i = 0; i < row.headers; ++i) {
            EXPECT_EQ(node.repository().sdr_headers[i].recordId(), i == 0 ? 0 : i + 1);
            EXPECT_EQ(node.repository().sdr_headers[i].length(), 11);
        }
    }
}

TEST(SdrWalks, EndAfterAHundredLostReservations)
{
    SdrBmc node(plainRecords(150));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    Sim::FaultRule everySecond = sdr(2, 0, kLost);
    everySecond.every = 2;
    node.restart({everySecond});
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), -1);
    EXPECT_EQ(node.repository().header_cnt, 100u);
    EXPECT_EQ(node.asked(kGetSdr), 200);
    EXPECT_EQ(node.asked(kReserve), 99);
    EXPECT_EQ(node.sleeps(), 99);

    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    everySecond.from = 150 + 2; // once the headers are read
    node.restart({everySecond});
    EXPECT_EQ(IpmiIfcSdrGetAll(0), -1);
    EXPECT_EQ(node.repository().entries, 100u);
    EXPECT_EQ(node.asked(kGetSdr), 350);
    EXPECT_EQ(node.complaints(), readErrors({kExpired}));
}

// --- one record

TEST(SdrRecordRead, ReadsFromTheEndAndTriesAgain)
{
    constexpr const char *kLong = " data length mismatch req=12,resp=32", *kFourTimes = "0+9 0+9 0+9 0+9 ";
    static const struct {
        const char* name;
        int size;
        Faults faults;
        const char* pieces; ///< offset and size of each
        int result = 0;
        std::vector<const char*> errors = {};
        int reserved = 0, slept = 0;
    } rows[] = {
        {"60 bytes", 60, {}, "44+16 28+16 12+16 0+12 "},
        {"nothing", 0, {}, "", -1, {kExpired}},
        {"silent three times", 20, {sdr(1, 3, kSilence)}, "4+16 4+16 4+16 4+16 0+4 "},
        {"silent", 20, {sdr(1, 0, kSilence)}, "4+16 4+16 4+16 4+16 ", -1, {kExpired}},
        {"reservation lost", 20, {sdr(2, 2, kLost)}, "4+16 0+4 0+4 0+4 ", 0, {}, 2, 2},
        {"reservation lost for good", 9, {sdr(1, 0, kLost)}, kFourTimes, -1, {kExpired}, 4, 4},
        {"afresh", 30, {sdr(1, 2, code(0xc7)), sdr(4, 3, code(0xca))}, "14+16 15+15 16+14 2+14 3+13 4+12 5+11 0+5 "},
        {"too many for good", 20, {sdr(1, 0, code(0xca))}, "4+16 5+15 6+14 7+13 ", -1, {kExpired}},
        {"another code", 9, {sdr(1, 1, code(0xc3))}, "0+9 0+9 ", 0, {"record id: 1F, error 195. Try again..."}},
        {"not present", 20, {sdr(2, 1, code(0xcb))}, "4+16 0+4 ", -1, {" sensor not found, record id: 1F"}},
        {"short", 9, {sdr(1, 1, cut(11))}, "0+9 0+9 ", 0, {" data length mismatch req=12,resp=11"}, 0, 1},
        {"cut off", 9, {sdr(1, 0, lengthened(40))}, kFourTimes, -1, {kLong, kLong, kLong, kLong, kExpired}, 0, 4}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes record = plainRecord(0x1f, 60);
        SdrBmc node({record});
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        node.restart(row.faults);
        Bytes buffer(64, 0xaa);
        EXPECT_EQ(IpmiIfcSdrReadRecordId(0, 0x1f, buffer.data(), static_cast<unsigned char>(row.size)), row.result);
        std::string pieces;
        for (const Sim::Request& request : node.bmc.log())
            if (request.cmd == kGetSdr)
                pieces += std::to_string(request.data.at(4)) + '+' + std::to_string(request.data.at(5)) + ' ';
        EXPECT_EQ(pieces, row.pieces);
        EXPECT_EQ(node.complaints(), readErrors(row.errors));
        EXPECT_EQ(node.asked(kReserve), row.reserved);
        EXPECT_EQ(node.sleeps(), row.slept);
        EXPECT_TRUE(row.result != 0 || std::equal(buffer.begin(), buffer.begin() + row.size, record.begin()));
        EXPECT_TRUE(std::all_of(buffer.begin() + row.size, buffer.end(), [](auto byte) { return byte == 0xaa; }));
    }
}

/// A BMC that gives few bytes at a time costs attempts, but the pieces never vanish.
TEST(SdrRecordRead, ShrinksItsPiecesToOneByteAtTheLeast)
{
    const Bytes record = plainRecord(1, 200);
    SdrBmc node({record});
    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    Faults faults;
    for (std::uint64_t nth = 1; nth < 80; nth += 4) // of four requests three are refused
        faults.push_back(sdr(nth, 3, code(0xca)));
    node.restart(faults);
    Bytes buffer(record.size());
    EXPECT_EQ(IpmiIfcSdrReadRecordId(0, 1, buffer.data(), 200), 0);
    EXPECT_EQ(buffer, record);
    EXPECT_EQ(node.bmc.log().back().data.at(5), 1);
    EXPECT_EQ(node.complaints(), readErrors(std::vector<const char*>(
                                     60 - 7, "record id: 1, error 202. Try again..."))); // quiet down to 9 bytes
}

TEST(SdrRecords, LeavesOutWhatDoesNotFitItsLengthByte)
{
    static const std::pair<std::size_t, int> rows[] = {{0, 5}, {250, 255}, {251, 0}, {255, 0}};
    for (const auto& [body, length] : rows) { // of the entry; 0: none
        SCOPED_TRACE(body);
        SdrBmc node({Sim::writeRecord(1, 0xc0, Bytes(body)), plainRecord(2)});
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        const auto* entry = node.repository().sdr_oem->next;
        EXPECT_EQ(entry ? entry->length : 0, length);
        EXPECT_EQ(node.complaints(), length ? Lines{} : readErrors({kExpired}));
    }
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
    EXPECT_EQ(node.complaints(), line(LOG_WARNING, "IpmiIfcSdrReadAll: 16384 records kept, no more"));
    EXPECT_EQ(IpmiIfcSdrListAdd(0, new ipmiifc_sdr_list), -1);
    EXPECT_EQ(node.repository().entries, SdrRepository::kMostEntries);
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
    int noHeaders = 0, noRecords = 0;
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
        noHeaders += node.sim.log().count(LOG_ERR, "IpmiIfcSdrGetHeaders: failed alloc memory size = 20");
        noRecords += node.sim.log().count(LOG_ERR, "IpmiIfcSdrListAdd: failed memory alloc.");
        node.restart();
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(FaultTest::currentModel(), healthy);
        EXPECT_TRUE(node.complaints().empty());
    }
    EXPECT_EQ(noHeaders, 1);
    EXPECT_EQ(noRecords, 4); // two allocations for each copy of a shared record
}

} // namespace
