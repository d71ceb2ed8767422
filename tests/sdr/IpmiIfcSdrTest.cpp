#include "sdr/IpmiIfcSdr.h"

#include "ipmi/IpmiIfc.h"
#include "sdr/SdrBmc.h"
#include "support/FailingNew.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <thread>

using namespace Ipmi;
using namespace SdrTest;

namespace
{

// --- repository info

struct InfoRow {
    const char* name;
    std::vector<std::pair<std::size_t, std::uint8_t>> changed; ///< bytes of the answer
    std::optional<std::size_t> size;                           ///< of the answer, when not 15
    const char* warning;                                       ///< null: accepted
};

TEST(SdrInfo, IsCheckedBeforeItIsStored)
{
    const InfoRow rows[] = {
        {"as it should be", {}, {}, nullptr},
        {"version 52h", {{1, 0x52}}, {}, nullptr},
        {"version 03h", {{1, 0x03}}, {}, "Unexpected SDR Repository info version 0x3 - discarding results "},
        {"version 5Fh", {{1, 0x5f}}, {}, "Unexpected SDR Repository info version 0x5f - discarding results "},
        {"short", {}, 14, "SDR response buffer was wrong size e (expecting f)"},
        {"long", {}, 40, "SDR response buffer was wrong size 20 (expecting f)"},
        {"completion code alone", {}, 1, "SDR response buffer was wrong size 1 (expecting f)"},
    };
    for (const InfoRow& row : rows) {
        SCOPED_TRACE(row.name);
        SdrBmc node({plainRecord(1)},
                    {fault(kGetInfo, 1, 0, {.changed = row.changed, .lengthenTo = row.size, .cutTo = row.size})});
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0); // whatever became of it
        const bool accepted = row.warning == nullptr;
        EXPECT_EQ(IpmiIfc::getSdr(0).recordCount(), accepted ? 1 : 0);
        EXPECT_EQ(node.repository().entries, accepted ? 1u : 0u);
        EXPECT_EQ(node.complaints(), (accepted ? Lines{} : Lines{{LOG_WARNING, row.warning}}));
    }
    for (const Sim::FaultAction& action : {kSilence, code(0xc1), code(0xff), cut(0)}) {
        SdrBmc node({plainRecord(1)}, {fault(kGetInfo, 1, 0, action)});
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), -1);
        EXPECT_EQ(node.storage(kGetInfo), 1u);
        EXPECT_EQ(node.storage(kReserve), 0u);
    }
}

TEST(SdrInfo, HandlerTrustsNoReply)
{
    SdrBmc node({plainRecord(1)});
    ipmiifc_resp good;
    good.datalen = 15;
    good.data[1] = 0x51;
    good.data[2] = 1;
    const struct {
        std::uint8_t cc, first;
        int node;
        const char* warning;
    } rows[] = {{0xc1, 0, 0, "Unable to fetch SDR info - cc=0xc1"},
                {0, 0xd4, 0, "Inconsistent SDR Response codes d4 != 0"},
                {0, 0, 4, nullptr},
                {0, 0, -1, nullptr}};
    for (const auto& row : rows) {
        ipmiifc_resp resp = good;
        resp.cc = row.cc;
        resp.data[0] = row.first;
        resp.node = row.node;
        node.sim.log().clear();
        EXPECT_EQ(IpmiIfcRhGetSdrInfo(&resp), -1);
        EXPECT_EQ(node.complaints(), (row.warning ? Lines{{LOG_WARNING, row.warning}} : Lines{}));
    }
    EXPECT_EQ(IpmiIfcRhGetSdrInfo(nullptr), -1);
    EXPECT_EQ(node.bmc.count(), 0u);
    EXPECT_EQ(IpmiIfcRhGetSdrInfo(&good), 0);
    EXPECT_EQ(node.repository().entries, 1u);
}

// --- whole reads

TEST(SdrWholeRead, ChecksVersionAndCount)
{
    const struct {
        std::uint8_t version;
        int records, result;
        std::uint64_t infos; ///< fetched by a direct read
    } rows[] = {{0x51, 1, 0, 1},  {0x02, 1, 0, 1},  {0x52, 1, 0, 1},  {0x01, 1, -1, 1},
                {0x11, 1, -1, 1}, {0x51, 0, -1, 1}, {0x00, 1, -1, 1}, {0x10, 1, -1, 1}};
    int logged = 0;
    for (const auto& row : rows) {
        SCOPED_TRACE(row.version);
        Sim::Machine machine = machineOf(plainRecords(row.records));
        machine.sdrVersion = row.version;
        SdrBmc node(machine);
        EXPECT_EQ(IpmiIfcSdrGetAll(0), row.result);
        EXPECT_EQ(node.storage(kGetInfo), row.infos);
        EXPECT_EQ(node.repository().entries, row.result == 0 ? 1u : 0u);
        if (row.result != 0 && row.records != 0 && ++logged == 1) // once per process
            EXPECT_EQ(node.complaints(), (Lines{{LOG_ERR, "IpmiIfcSdrGetAll: invalid version. version = 0x1"}}));
        else
            EXPECT_TRUE(node.complaints().empty());
    }
}

TEST(SdrWholeRead, FetchesAnInfoWithoutVersionOnceMore)
{
    Sim::Machine machine = machineOf(plainRecords(2));
    machine.sdrVersion = 0;
    SdrBmc node(machine);
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(node.storage(kGetInfo), 2u);

    ipmiifc_resp resp;
    resp.datalen = 15;
    node.restart({});
    EXPECT_EQ(IpmiIfcRhGetSdrInfo(&resp), 0);
    EXPECT_EQ(node.storage(kGetInfo), 1u);

    // Only the first info lacks the version: the read comes to its records after all.
    node.bmc.change([](Sim::Machine& m) { m.sdrVersion = 0x51; });
    node.restart({fault(kGetInfo, 1, 1, {.changed = {{1, 0}}})});
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(node.storage(kGetInfo), 2u);
    EXPECT_EQ(node.repository().entries, 2u);
    IpmiIfcSdrCleanUpAll(0);
    node.restart({});
    EXPECT_EQ(IpmiIfcRhGetSdrInfo(&resp), 0);
    EXPECT_EQ(node.repository().entries, 2u);
}

TEST(SdrWholeRead, KeepsTheOldRecordsUntilTheHeadersAreRead)
{
    SdrBmc node(plainRecords(3));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(node.repository().entries, 3u);
    EXPECT_EQ(node.repository().sdr_oem->record_id, 3); // newest first; the first is known by the id asked for
    EXPECT_EQ(node.repository().sdr_oem->next->next->record_id, 0);

    node.restart({fault(kGetSdr, 2, 0, code(0xd5))});
    EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(node.repository().entries, 3u);
    EXPECT_EQ(node.repository().header_cnt, 1u);
    EXPECT_EQ(node.repository().sdr_headers_valid, 1);

    node.restart({fault(kGetSdr, 5, 1, code(0xcb))}); // the second record, after three headers
    EXPECT_EQ(IpmiIfcSdrGetAll(0), 0);
    EXPECT_EQ(node.repository().entries, 2u);
    EXPECT_EQ(node.complaints(), (Lines{{LOG_ERR, "IpmiIfcSdrReadRecordId: sensor not found, record id: 2"}}));

    node.restart({fault(kReserve, 1, 0, code(0xc1))});
    EXPECT_EQ(IpmiIfcSdrReserve(0), -1);
    EXPECT_NE(IpmiIfcSdrReservation(0), 0);
    IpmiIfcSdrCleanUpHeaders(0);
    EXPECT_EQ(IpmiIfcSdrReadAll(0), -1);
    EXPECT_TRUE(node.sim.log().has(LOG_ERR, "IpmiIfcSdrReadAll: header_cnt == 0 or no header data"));
}

// --- header walk

struct HeaderRow {
    const char* name;
    int records;
    int counted; ///< records that the info claims
    std::vector<Sim::FaultRule> faults;
    int result;
    std::uint32_t headers;
    std::uint64_t asked; ///< Get SDR requests
    std::uint64_t reserved = 0;
};

TEST(SdrHeaderWalk, TriesFourTimesAndEndsInTime)
{
    const Sim::FaultAction backToFirst{.changed = {{1, 0}, {2, 0}}}, backToSecond{.changed = {{1, 2}, {2, 0}}};
    const HeaderRow rows[] = {
        {"healthy", 3, 3, {}, 0, 3, 3},
        {"fewer than counted", 3, 9, {}, 0, 3, 3},
        {"more than counted", 5, 2, {}, 0, 2, 2},
        {"silent three times", 3, 3, {fault(kGetSdr, 2, 3, kSilence)}, 0, 3, 6},
        {"silent four times", 3, 3, {fault(kGetSdr, 2, 4, kSilence)}, -1, 1, 5},
        {"refused three times each",
         2,
         2,
         {fault(kGetSdr, 1, 3, code(0xc3)), fault(kGetSdr, 5, 3, code(0xcb))},
         0,
         2,
         8},
        {"refused four times", 2, 2, {fault(kGetSdr, 1, 4, code(0xff))}, -1, 0, 4},
        {"reservation lost once", 3, 3, {fault(kGetSdr, 2, 1, kLost)}, 0, 3, 4, 1},
        {"reservation lost again and again", 3, 3, {fault(kGetSdr, 2, 4, kLost)}, -1, 1, 5, 4},
        {"no new reservation", 3, 3, {fault(kGetSdr, 2, 1, kLost), fault(kReserve, 1, 0, kSilence)}, -1, 1, 5, 4},
        {"short of a byte", 2, 2, {fault(kGetSdr, 1, 2, cut(7))}, 0, 2, 4},
        {"completion code alone", 2, 2, {fault(kGetSdr, 1, 4, cut(1))}, -1, 0, 4},
        {"longer than asked for", 2, 2, {fault(kGetSdr, 1, 1, lengthened(40))}, 0, 2, 2},
        {"round to the first", 3, 3, {fault(kGetSdr, 2, 1, backToFirst)}, 0, 2, 2},
        {"round to itself", 3, 3, {fault(kGetSdr, 2, 1, backToSecond)}, 0, 2, 2},
    };
    for (const HeaderRow& row : rows) {
        SCOPED_TRACE(row.name);
        SdrBmc node(plainRecords(row.records));
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        {
            TRX::WriteLock lock(g_IpmiNode[0].sdrLock);
            g_IpmiNode[0].repository.sdr_info.bytes[2] = static_cast<std::uint8_t>(row.counted);
        }
        node.restart(row.faults);
        EXPECT_EQ(IpmiIfcSdrGetHeaders(0), row.result);
        EXPECT_EQ(node.repository().header_cnt, row.headers);
        EXPECT_EQ(node.repository().sdr_headers_valid, row.result == 0 ? 1 : 0);
        EXPECT_EQ(node.storage(kGetSdr), row.asked);
        EXPECT_EQ(node.storage(kReserve), row.reserved);
        EXPECT_EQ(node.sleeps(), row.reserved);
        EXPECT_EQ(node.sim.log().count(LOG_DEBUG, "IpmiIfcSdrGetHeaders: retry expired."), row.result == 0 ? 0 : 1);
        for (std::uint32_t i = 0; i < row.headers; ++i) {
            EXPECT_EQ(node.repository().sdr_headers[i].recordId(), i == 0 ? 0 : i + 1);
            EXPECT_EQ(node.repository().sdr_headers[i].length(), 11);
        }
    }
}

TEST(SdrHeaderWalk, SaysThatMemoryRanOut)
{
    SdrBmc node(plainRecords(3));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    IpmiIfcSdrCleanUpHeaders(0);
    node.restart({});
    const Support::FailingNew memory(1);
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), -1);
    EXPECT_EQ(node.sim.log().lines(), (Lines{{LOG_ERR, "IpmiIfcSdrGetHeaders: failed alloc memory size = 15"}}));
    EXPECT_EQ(node.bmc.count(), 0u);
}

TEST(SdrWalks, EndAfterAHundredLostReservations)
{
    const auto everySecond = [](int nth) {
        Sim::FaultRule rule = fault(kGetSdr, static_cast<std::uint64_t>(nth), 0, kLost);
        rule.every = 2;
        return std::vector<Sim::FaultRule>{rule};
    };
    constexpr int kRecords = 150;
    SdrBmc node(plainRecords(kRecords));
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    node.restart(everySecond(2));
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), -1);
    EXPECT_EQ(node.repository().header_cnt, 100u);
    EXPECT_EQ(node.storage(kReserve), 99u);
    EXPECT_EQ(node.sleeps(), 99u);
    EXPECT_EQ(node.repository().entries, 150u);

    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    node.restart(everySecond(kRecords + 2));
    EXPECT_EQ(IpmiIfcSdrGetAll(0), -1);
    EXPECT_EQ(node.repository().header_cnt, 150u);
    EXPECT_EQ(node.repository().entries, 100u);
    EXPECT_EQ(node.storage(kReserve), 99u);
    EXPECT_EQ(node.complaints(), (Lines{{LOG_ERR, "IpmiIfcSdrReadRecordId: retry expired."}}));
}

// --- one record

struct Piece {
    int offset, count;
    bool operator==(const Piece&) const = default;
};

struct RecordRow {
    const char* name;
    int size;
    std::vector<Sim::FaultRule> faults;
    int result;
    std::vector<Piece> pieces;
    Lines log = {};
    std::uint64_t reserved = 0;
    std::size_t slept = 0; ///< times, reservations included
};

const LogLine kExpired{LOG_ERR, "IpmiIfcSdrReadRecordId: retry expired."};

LogLine tryAgain(int errorCode)
{
    return {LOG_ERR, "IpmiIfcSdrReadRecordId:record id: 1F, error " + std::to_string(errorCode) + ". Try again..."};
}

LogLine mismatch(int wanted, int got)
{
    return {LOG_ERR, "IpmiIfcSdrReadRecordId: data length mismatch req=" + std::to_string(wanted) +
                         ",resp=" + std::to_string(got)};
}

TEST(SdrRecordRead, ReadsFromTheEndAndTriesAgain)
{
    const RecordRow rows[] = {
        {"60 bytes", 60, {}, 0, {{44, 16}, {28, 16}, {12, 16}, {0, 12}}},
        {"one piece", 16, {}, 0, {{0, 16}}},
        {"header alone", 5, {}, 0, {{0, 5}}},
        {"nothing", 0, {}, -1, {}, {kExpired}},
        {"silent three times", 20, {fault(kGetSdr, 1, 3, kSilence)}, 0, {{4, 16}, {4, 16}, {4, 16}, {4, 16}, {0, 4}}},
        {"silent", 20, {fault(kGetSdr, 1, 0, kSilence)}, -1, {{4, 16}, {4, 16}, {4, 16}, {4, 16}}, {kExpired}},
        {"silent on the second piece",
         20,
         {fault(kGetSdr, 2, 1, kSilence)},
         0,
         {{4, 16}, {0, 4}, {0, 4}},
         {tryAgain(255)}},
        {"reservation lost", 20, {fault(kGetSdr, 2, 2, kLost)}, 0, {{4, 16}, {0, 4}, {0, 4}, {0, 4}}, {}, 2, 2},
        {"reservation lost for good",
         9,
         {fault(kGetSdr, 1, 0, kLost)},
         -1,
         {{0, 9}, {0, 9}, {0, 9}, {0, 9}},
         {kExpired},
         4,
         4},
        {"three times too many",
         20,
         {fault(kGetSdr, 1, 3, code(0xca))},
         0,
         {{4, 16}, {5, 15}, {6, 14}, {7, 13}, {0, 7}}},
        {"too many, then a fresh count for the next piece",
         30,
         {fault(kGetSdr, 1, 2, code(0xc7)), fault(kGetSdr, 4, 3, code(0xca))},
         0,
         {{14, 16}, {15, 15}, {16, 14}, {2, 14}, {3, 13}, {4, 12}, {5, 11}, {0, 5}}},
        {"too many for good",
         20,
         {fault(kGetSdr, 1, 0, code(0xca))},
         -1,
         {{4, 16}, {5, 15}, {6, 14}, {7, 13}},
         {kExpired}},
        {"other codes",
         9,
         {fault(kGetSdr, 1, 1, code(0xc3)), fault(kGetSdr, 2, 1, code(0xff))},
         0,
         {{0, 9}, {0, 9}, {0, 9}},
         {tryAgain(0xc3), tryAgain(0xff)}},
        {"not present",
         20,
         {fault(kGetSdr, 2, 1, code(0xcb))},
         -1,
         {{4, 16}, {0, 4}},
         {{LOG_ERR, "IpmiIfcSdrReadRecordId: sensor not found, record id: 1F"}}},
        {"too short and too long",
         9,
         {fault(kGetSdr, 1, 1, cut(11)), fault(kGetSdr, 2, 1, lengthened(13))},
         0,
         {{0, 9}, {0, 9}, {0, 9}},
         {mismatch(12, 11), mismatch(12, 13)},
         0,
         2},
        {"beyond the reply's room",
         16,
         {fault(kGetSdr, 1, 0, lengthened(40))},
         -1,
         {{0, 16}, {0, 16}, {0, 16}, {0, 16}},
         {mismatch(19, 32), mismatch(19, 32), mismatch(19, 32), mismatch(19, 32), kExpired},
         0,
         4},
        {"completion code alone", 9, {fault(kGetSdr, 1, 1, cut(1))}, 0, {{0, 9}, {0, 9}}, {mismatch(12, 1)}, 0, 1},
    };
    for (const RecordRow& row : rows) {
        SCOPED_TRACE(row.name);
        const Bytes record = plainRecord(0x1f, 60);
        SdrBmc node({record});
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        node.restart(row.faults);
        Bytes buffer(64, 0xaa);
        EXPECT_EQ(IpmiIfcSdrReadRecordId(0, 0x1f, buffer.data(), static_cast<unsigned char>(row.size)), row.result);
        std::vector<Piece> pieces;
        for (const Sim::Request& request : node.bmc.log()) {
            if (request.cmd == kGetSdr)
                pieces.push_back({request.data.at(4), request.data.at(5)});
        }
        EXPECT_EQ(pieces, row.pieces);
        EXPECT_EQ(node.complaints(), row.log);
        EXPECT_EQ(node.storage(kReserve), row.reserved);
        EXPECT_EQ(node.sleeps(), row.slept);
        if (row.result == 0) {
            EXPECT_TRUE(std::equal(buffer.begin(), buffer.begin() + row.size, record.begin()));
        }
        EXPECT_TRUE(std::all_of(buffer.begin() + row.size, buffer.end(), [](auto byte) { return byte == 0xaa; }));
    }
}

/// A BMC that gives few bytes at a time costs attempts, but the pieces never vanish.
TEST(SdrRecordRead, ShrinksItsPiecesToOneByteAtTheLeast)
{
    const Bytes record = plainRecord(1, 200);
    SdrBmc node({record});
    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    std::vector<Sim::FaultRule> faults;
    for (std::uint64_t nth = 1; nth < 80; nth += 4) // of four requests three are refused
        faults.push_back(fault(kGetSdr, nth, 3, code(0xca)));
    node.restart(faults);
    Bytes buffer(record.size());
    EXPECT_EQ(IpmiIfcSdrReadRecordId(0, 1, buffer.data(), 200), 0);
    EXPECT_EQ(buffer, record);
    int smallest = 255, silent = 0;
    for (const Sim::Request& request : node.bmc.log())
        smallest = std::min<int>(smallest, request.data.at(5));
    EXPECT_EQ(smallest, 1);
    for (const LogLine& line : node.complaints())
        silent += line.text == "IpmiIfcSdrReadRecordId:record id: 1, error 202. Try again..." ? 1 : 0;
    EXPECT_EQ(silent, 60 - 7); // quiet down to 9 bytes
}

TEST(SdrRecords, LeavesOutWhatDoesNotFitItsLengthByte)
{
    const struct {
        std::size_t body;
        std::uint8_t length; ///< of the entry, 0: none
    } rows[] = {{0, 5}, {250, 255}, {251, 0}, {255, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.body);
        SdrBmc node({Sim::writeRecord(1, 0xc0, Bytes(row.body)), plainRecord(2)});
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        EXPECT_EQ(node.repository().entries, row.length ? 2u : 1u);
        EXPECT_EQ(node.complaints(), row.length ? Lines{} : Lines{kExpired});
        if (row.length) {
            EXPECT_EQ(node.repository().sdr_oem->next->length, row.length);
        }
    }
}

TEST(SdrRecords, ReadsNoMoreOnceTheListsAreFull)
{
    std::vector<Bytes> records;
    for (std::uint16_t id = 1; id <= 1200; ++id)
        records.push_back(patched(plainRecord(id, 32, 0x02), {{23, 15}}));
    SdrBmc node(records);
    EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
    {
        TRX::WriteLock lock(g_IpmiNode[0].sdrLock);
        g_IpmiNode[0].repository.sdr_info.bytes[2] = 0xff;
        g_IpmiNode[0].repository.sdr_info.bytes[3] = 0xff;
    }
    EXPECT_EQ(IpmiIfcSdrGetHeaders(0), 0);
    node.restart({});
    EXPECT_EQ(IpmiIfcSdrReadAll(0), 0);
    EXPECT_EQ(node.repository().entries, SdrRepository::kMostEntries);
    EXPECT_EQ(node.storage(kGetSdr), 2u * (SdrRepository::kMostEntries / 15 + 1));
    EXPECT_EQ(node.complaints(), (Lines{{LOG_WARNING, "IpmiIfcSdrReadAll: 16384 records kept, no more"}}));
}

// --- bad nodes, lost memory, bad luck, many threads

TEST(SdrNodes, OutsideTheTableGiveNoAnswer)
{
    unsigned char buffer[8];
    for (const int node : {-1, 4, 5, INT_MAX, INT_MIN}) {
        for (const auto& function :
             {IpmiIfcSdrGetInfo, IpmiIfcSdrReserve, IpmiIfcSdrGetAll, IpmiIfcSdrGetHeaders, IpmiIfcSdrReadAll})
            EXPECT_EQ(function(node), -1);
        EXPECT_EQ(IpmiIfcSdrReadRecordId(node, 1, buffer, sizeof buffer), -1);
        EXPECT_EQ(IpmiIfcSdrCleanUpAll(node), 0);
        IpmiIfcSdrCleanUpHeaders(node);
        EXPECT_EQ(IpmiIfcSdrReservation(node), 0);
        EXPECT_EQ(IpmiIfc::getSdr(node).version(), 0);
    }
    EXPECT_EQ(IpmiIfcSdrGetInfo(3), -1); // never opened
}

/// A machine with some of everything: readable, shared, event-only and other records.
Sim::Machine smallMachine()
{
    Sim::SensorRecord full;
    full.key.number = 1;
    full.capabilities = 0x58; // hysteresis and thresholds readable and settable
    full.masks[2] = 0x3f3f;
    full.thresholds = {10, 5, 1, 200, 210, 220};
    full.hysteresis = {2, 3};
    full.id = Sim::encodeIdString("Temp", Sim::IdEncoding::latin1);
    Sim::SensorRecord compact;
    compact.kind = Kind::compact;
    compact.key.number = 0x20;
    compact.eventType = 0x6f;
    compact.entityId = 7;
    compact.share = {.count = 3, .entityInstances = true};
    compact.id = Sim::encodeIdString("Slot ", Sim::IdEncoding::latin1);
    Sim::SensorRecord eventOnly;
    eventOnly.kind = Kind::eventOnly;
    eventOnly.key.number = 0x40;
    eventOnly.eventType = 0x6f;
    eventOnly.id = Sim::encodeIdString("Log", Sim::IdEncoding::latin1);
    return machineOf({Sim::writeSensorRecord(1, full), Sim::writeSensorRecord(2, compact),
                      Sim::writeSensorRecord(3, eventOnly), plainRecord(4, 32, 0x12)});
}

/// All that is known of node 0's sensors.
std::vector<std::string> model()
{
    std::vector<std::string> sensors;
    for (const auto& sensor : IpmiIfc::getSensors(0)) {
        const IpmiSensor::Reading reading = sensor->getLastReading();
        const IpmiSensor::Thresholds thresholds = sensor->getLastThresholds();
        unsigned char positive = 0, negative = 0;
        const int result = sensor->getHysteresis(positive, negative, false);
        sensors.push_back(sensor->getName());
        for (const int value : {int{sensor->getSensorNumber()}, int{reading.raw}, int{reading.valid},
                                int{reading.length}, int{thresholds.readable}, int{thresholds.raw[0]},
                                int{thresholds.raw[5]}, result, int{positive}, int{negative}})
            sensors.back() += ' ' + std::to_string(value);
    }
    return sensors;
}

/// Node 0 with the small machine, and its model after a healthy load.
struct SdrLoad : testing::Test {
    SdrBmc node{smallMachine()};
    std::vector<std::string> healthy;
    std::uint64_t commands = 0; ///< of a healthy load

    SdrLoad()
    {
        EXPECT_EQ(IpmiIfcSdrGetInfo(0), 0);
        commands = node.bmc.count();
        healthy = model();
        EXPECT_EQ(healthy.size(), 5u);
        EXPECT_TRUE(node.complaints().empty());
    }
    void expectHealthyAgain()
    {
        node.restart({});
        ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
        ASSERT_EQ(model(), healthy);
        ASSERT_EQ(node.repository().entries, 6u);
        ASSERT_TRUE(node.complaints().empty());
    }
};

TEST_F(SdrLoad, RecoversFromAnyFaultAtAnyCommand)
{
    std::vector<Sim::FaultAction> actions{kSilence, kLost, cut(0), cut(1), cut(2), cut(4), lengthened(40)};
    for (const std::uint8_t completionCode : Bytes{0xc0, 0xc1, 0xc3, 0xc5, 0xc7, 0xca, 0xcb, 0xcd, 0xff})
        actions.push_back(code(completionCode));
    actions.push_back({.changed = {{1, 0xff}, {2, 0xff}, {3, 0xff}, {4, 0xff}, {7, 0xff}}});
    actions.push_back({.changed = {{1, 0x00}, {2, 0x00}, {3, 0x00}, {7, 0x00}}});
    for (const Sim::FaultAction& action : actions) {
        for (std::uint64_t nth = 1; nth <= commands; ++nth) {
            for (const std::uint64_t count : {1u, 0u}) { // once, and from there on
                SCOPED_TRACE("command " + std::to_string(nth));
                node.restart({{.from = nth, .count = count, .action = action}});
                IpmiIfcSdrGetInfo(0);
                IpmiIfcSensorUpdateReading(0);
            }
            expectHealthyAgain();
            ASSERT_FALSE(HasFailure());
        }
    }
}

TEST_F(SdrLoad, SurvivesAnyFailedAllocation)
{
    for (int nth = 1;; ++nth) {
        SCOPED_TRACE(nth);
        node.restart({});
        IpmiIfcSdrCleanUpHeaders(0);
        bool failed = false;
        {
            const Support::FailingNew memory(nth);
            IpmiIfcSdrGetInfo(0);
            failed = memory.failed();
        }
        EXPECT_TRUE(model() == healthy || !node.sim.log().complaints().empty());
        expectHealthyAgain();
        if (!failed || HasFailure())
            break;
    }
}

TEST(SdrThreads, LoadAndReadAtOnce)
{
    SdrBmc node(smallMachine(), {}, Support::SimNode::Serve::inThread);
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    const auto healthy = model();
    std::atomic<bool> stop{false};
    std::vector<std::thread> readers, loaders;
    const auto untilStopped = [&](auto what) {
        return std::thread([&stop, what] {
            while (!stop)
                what();
        });
    };
    readers.push_back(untilStopped([] { IpmiIfcSensorUpdateReading(0); }));
    readers.push_back(untilStopped([] {
        for (const auto& sensor : IpmiIfc::getSensors(0))
            sensor->getLastReading();
        IpmiIfc::getSensor(0, 1, 0x20);
    }));
    readers.push_back(untilStopped([] { IpmiIfc::getSdr(0); }));
    for (int i = 0; i < 2; ++i) {
        loaders.emplace_back([] {
            for (int round = 0; round < 5; ++round)
                IpmiIfcSdrGetInfo(0);
        });
    }
    for (std::thread& thread : loaders)
        thread.join();
    stop = true;
    for (std::thread& thread : readers)
        thread.join();
    EXPECT_EQ(model(), healthy);
    EXPECT_TRUE(node.complaints().empty()); // no load took another's reservation
}

} // namespace
