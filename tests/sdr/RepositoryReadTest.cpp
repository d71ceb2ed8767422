// SPDX-License-Identifier: Apache-2.0
// The repository as raw records: a reading that is whole or says why not, and what a load has kept.
#include "ipmi/IpmiNodeControl.h"
#include "sdr/SdrBmc.h"

using namespace Ipmi;
using namespace SdrTest;

namespace
{

using R = ipmiifc_repository;

TEST(RepositoryRead, IsWholeOrSaysWhyNot)
{
    static constexpr auto kNames = "result step record code infos reservations pieces";
    const auto info = [](std::uint64_t nth, std::uint64_t count, Sim::FaultAction action, std::uint64_t every = 1) {
        return fault(kGetInfo, nth, count, std::move(action), every);
    };
    static const Sim::FaultAction atAnotherTime{.changed = {{6, 0x55}}};
    const Case rows[] = {
        // a header and two pieces for each of three records of 30 bytes
        {"healthy", {}, {R::kWhole, R::kInfo, 3, 0, 2, 1, 9}},
        {"silent four times", {sdr(4, 4, kSilence)}, {R::kNoAnswer, R::kRecord, 2, 0, 1, 1, 7}},
        {"refused", {sdr(4, 0, code(0xd5))}, {R::kRefused, R::kRecord, 2, 0xd5, 1, 1, 7}},
        {"cut", {sdr(4, 0, cut(5))}, {R::kTooShort, R::kRecord, 2, 0, 1, 1, 7}},
        {"smaller pieces", {sdr(2, 1, code(0xca))}, {R::kWhole, R::kInfo, 3, 0, 2, 1, 16}},
        {"one byte is too much", {sdr(2, 0, code(0xc7))}, {R::kRefused, R::kRecord, 0, 0xc7, 1, 1, 9}},
        {"reservation lost in a record", {sdr(3, 1, kLost)}, {R::kWhole, R::kInfo, 3, 0, 2, 2, 12}},
        {"lost again and again", {sdr(2, 0, kLost, 2)}, {R::kReservationsLost, R::kRecord, 0, 0, 1, 101, 202}},
        {"in a circle", {sdr(5, 2, kToSecond)}, {R::kEndless, R::kRecord, 2, 0, 1, 1, 6}},
        {"no info", {info(1, 0, kSilence)}, {R::kNoAnswer, R::kInfo, 0, 0, 4, 0, 0}},
        {"no info in the end", {info(2, 0, code(0xc1))}, {R::kRefused, R::kInfo, 3, 0xc1, 5, 1, 9}},
        {"no reservation", {fault(kReserve, 1, 0, code(0xc1))}, {R::kRefused, R::kReservation, 0, 0xc1, 1, 4, 0}},
        {"always another time", {info(1, 0, atAnotherTime, 2)}, {R::kChanging, R::kInfo, 3, 0, 4, 3, 27}},
        {"changed once", {info(2, 2, atAnotherTime)}, {R::kWhole, R::kInfo, 3, 0, 3, 2, 18}},
        {"says that it is empty", {info(1, 0, {.changed = {{2, 0}}})}, {R::kWhole, R::kInfo, 0, 0, 1, 0, 0}},
    };
    const std::vector<Bytes> records{plainRecord(1, 30), plainRecord(2, 30), plainRecord(3, 30)};
    Bytes all;
    for (const Bytes& record : records)
        all.insert(all.end(), record.begin(), record.end());
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SdrBmc node(records);
        node.restart(row.faults);
        const R read = IpmiIfc::readRepository(0);
        EXPECT_EQ(facts(kNames, read.result, read.step, read.recordId, read.completionCode, node.asked(kGetInfo),
                        node.asked(kReserve), node.asked(kGetSdr)),
                  facts(kNames, row.facts));
        EXPECT_EQ(read.records, read.result == R::kWhole && read.recordId != 0 ? all : Bytes());
    }
}

TEST(RepositoryRead, ALoadKeepsTheRecordsAsTheyWereRead)
{
    const Bytes shared = sensorRecord(Kind::compact, 0x6f, {{23, 3}}, 2);
    const std::vector<Bytes> records{plainRecord(1, 30), shared, plainRecord(3)};
    SdrBmc node(records);
    EXPECT_TRUE(IpmiIfc::getSdrRecords(0).empty());
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(IpmiIfc::getSensors(0).size(), 3u) << "which share a record";
    EXPECT_EQ(IpmiIfc::getSdrRecords(0), records);
    node.restart({sdr(5, 4, code(0xd5))}); // behind three headers and a record's first piece
    ASSERT_EQ(IpmiIfcSdrGetInfo(0), 0);
    EXPECT_EQ(IpmiIfc::getSdrRecords(0), std::vector(records.begin() + 1, records.end()));
    node.restart();
    IpmiIfc::readRepository(0);
    EXPECT_EQ(IpmiIfc::getSdrRecords(0).size(), 2u) << "a reading of its own leaves what is known";
}

} // namespace
