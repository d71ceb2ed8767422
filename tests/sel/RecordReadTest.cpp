// SPDX-License-Identifier: Apache-2.0
// Reading one record in pieces: of the repository, and of the event log.
#include "sel/SelBmc.h"

#include <algorithm>

using namespace Ipmi;
using namespace SelTest;

namespace
{

struct Row {
    const char* name;
    int which; ///< the record's size in the repository, its id in the log
    Faults faults;
    const char* pieces;
    int result = 0, pauses = 0;
    std::size_t errors = 0; ///< logged; of the repository
};

TEST(SdrRecordRead, ReadsFromTheEndAndTriesAgain)
{
    const Sim::FaultAction tooMany = code(0xca);
    const Faults threeOfFour{sdr(1, 0, tooMany, 4), sdr(2, 0, tooMany, 4), sdr(3, 0, tooMany, 4)};
    const Row rows[] = {
        {"60 bytes", 60, {}, "44+16 28+16 12+16 0+12 "},
        {"nothing", 0, {}, "", -1, 0, 1},
        {"silent", 20, {sdr(1, 0, kSilence)}, "4+16 4+16 4+16 4+16 ", -1, 0, 1},
        {"silent twice behind a good one", 20, {sdr(2, 2, kSilence)}, "4+16 0+4 0+4 0+4 ", 0, 0, 1},
        {"reservation lost", 20, {sdr(2, 2, kLost)}, "4+16 0+4 R 0+4 R 0+4 ", 0, 2},
        {"reservation lost for good", 9, {sdr(1, 0, kLost)}, "0+9 R 0+9 R 0+9 R 0+9 R ", -1, 4, 1},
        {"afresh", 30, {sdr(1, 2, code(0xc7)), sdr(4, 3, tooMany)}, "14+16 15+15 16+14 2+14 3+13 4+12 5+11 0+5 "},
        {"too many for good", 20, {sdr(1, 0, tooMany)}, "4+16 5+15 6+14 7+13 ", -1, 0, 1},
        {"few bytes at a time, one at the least", 36, threeOfFour,
         "20+16 21+15 22+14 23+13 10+13 11+12 12+11 13+10 3+10 4+9 5+8 6+7 0+6 0+6 1+5 2+4 0+2 0+2 0+2 1+1 0+1 0+1 0+1 "
         "0+1 ",
         0, 0, 11},
        {"another code", 9, {sdr(1, 1, code(0xc3))}, "0+9 0+9 ", 0, 0, 1},
        {"not present", 20, {sdr(2, 1, code(0xcb))}, "4+16 0+4 ", -1, 0, 1},
        {"short", 9, {sdr(1, 1, cut(11))}, "0+9 0+9 ", 0, 1, 1},
        {"cut off", 9, {sdr(1, 0, lengthened(40))}, "0+9 0+9 0+9 0+9 ", -1, 4, 5}};
    const Bytes record = plainRecord(0x1f, 60);
    for (const auto& [name, size, faults, pieces, result, pauses, errors] : rows) {
        SCOPED_TRACE(name);
        SdrBmc node({record});
        EXPECT_EQ(IpmiIfcSdrReserve(0), 0);
        node.restart(faults);
        Bytes buffer(64, 0xaa), expected = record;
        expected.resize(static_cast<std::size_t>(size));
        expected.resize(buffer.size(), 0xaa);
        EXPECT_EQ(IpmiIfcSdrReadRecordId(0, 0x1f, buffer.data(), static_cast<unsigned char>(size)), result);
        EXPECT_EQ(node.pieces(kReserve, kGetSdr), pieces);
        EXPECT_EQ(node.sleeps(), pauses);
        EXPECT_EQ(node.priorities().size(), errors);
        EXPECT_TRUE(result != 0 || buffer == expected);
    }
}

TEST(SelRecordRead, ReadsFromTheEndAndTriesAgain)
{
    constexpr const char* kFourTimes = "0+16 0+16 0+16 0+16 ";
    constexpr int kAny = 0, kAlike = 0x0101, kOther = 7; // kAlike: all bytes are 01h
    const Row rows[] = {
        {"silent", kAlike, {entry(1, 4, kSilence)}, kFourTimes, -1},
        {"reservation lost", kAlike, {entry(1, 2, kLost)}, "0+16 R 0+16 R 0+16 ", 0, 4},
        {"busy then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, code(0xc0))}, "0+16 R 0+16/ ", 0, 3},
        {"refused then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, code(0xc1))}, "0+16 R 0+16/ ", 0, 3},
        {"short then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, cut(2))}, "0+16 R 0+16/ ", 0, 2},
        {"too many bytes", kAny, {entry(1, 2, code(0xca))}, "0+16 1+15 2+14 0+2 "},
        {"bad length", kAny, {entry(1, 1, code(0xc7)), entry(3, 1, code(0xc7))}, "0+16 1+15 0+1 0+1 "},
        {"anew", kAny, {entry(1, 3, code(0xca)), entry(5, 3, kSilence)}, "0+16 1+15 2+14 3+13 0+3 0+3 0+3 0+3 "},
        // The first two bytes of each piece are taken for the id: this is meant.
        {"pieces unlike", kOther, {entry(1, 1, code(0xca))}, "0+16 1+15 1+15 1+15 ", -1, 3},
        {"busy", kAlike, {entry(1, 1, code(0xc0))}, "0+16 0+16 ", 0, 1},
        {"short", kAlike, {entry(1, 1, cut(18))}, "0+16 0+16 ", 0, 1},
        {"long", kAlike, {entry(1, 4, lengthened(40))}, kFourTimes, -1, 4},
        {"another id", kAlike, {entry(1, 3, {.otherRecordId = 0x0201})}, kFourTimes, 0, 3},
    };
    for (const auto& [name, id, faults, pieces, result, pauses, errors] : rows) {
        SCOPED_TRACE(name);
        SelBmc node;
        Sim::SelRecord alike;
        alike.fill(0x01);
        node.change([&](Sim::Machine& machine) { machine.sel = {alike, SelTest::record(kOther, kStart)}; });
        ASSERT_EQ(IpmiIfcSelReserve(0), 0);
        node.restart(faults);
        ipmiifc_sel_entry entry;
        entry.recordId = static_cast<std::uint16_t>(id);
        EXPECT_EQ(IpmiIfcSelReadEntry(0, &entry), result);
        EXPECT_EQ(node.pieces(kReserveSel, kGetSelEntry), pieces);
        EXPECT_EQ(node.sleeps(), pauses);
        EXPECT_NE(selReservation(0), 0); // the old one stays when no new one comes
        EXPECT_EQ(entry.recordId, result == 0 ? kOther : id);
        EXPECT_EQ(std::ranges::count(entry.record.bytes, result == 0 ? 1 : 0), std::ssize(entry.record.bytes));
    }
}

} // namespace
