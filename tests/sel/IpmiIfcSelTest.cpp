// SPDX-License-Identifier: Apache-2.0
// Reading the event log, its events and their handlers, and erasing it.
#include "sel/SelBmc.h"

#include "ipmi/CmpiStatus.h"
#include "sel/SelTime.h"

#include <cstdlib>

using namespace Ipmi;
using namespace SelTest;

namespace
{

// --- one record

TEST(SelRecordRead, ReadsFromTheEndAndTriesAgain)
{
    constexpr const char* kFourTimes = "0+16 0+16 0+16 0+16 ";
    constexpr std::uint16_t kAny = 0, kAlike = 0x0101, kOther = 7; // kAlike: all bytes are 01h
    static const struct {
        const char* name;
        std::uint16_t id;
        Faults faults;
        const char* trace;
        int slept = 0, result = 0;
    } rows[] = {
        {"silent three times", kAlike, {entry(1, 3, kSilence)}, kFourTimes},
        {"silent", kAlike, {entry(1, 4, kSilence)}, kFourTimes, 0, -1},
        {"reservation lost", kAlike, {entry(1, 2, kLost)}, "0+16 R 0+16 R 0+16 ", 4},
        {"no new one", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 0, kSilence)}, "0+16 R 0+16/ ", 2},
        {"busy then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, code(0xc0))}, "0+16 R 0+16/ ", 3},
        {"refused then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, code(0xc1))}, "0+16 R 0+16/ ", 3},
        {"short then", kAlike, {entry(1, 1, kLost), fault(kReserveSel, 1, 1, cut(2))}, "0+16 R 0+16/ ", 2},
        {"too many bytes", kAny, {entry(1, 2, code(0xca))}, "0+16 1+15 2+14 0+2 "},
        {"bad length", kAny, {entry(1, 1, code(0xc7)), entry(3, 1, code(0xc7))}, "0+16 1+15 0+1 0+1 "},
        {"anew", kAny, {entry(1, 3, code(0xca)), entry(5, 3, kSilence)}, "0+16 1+15 2+14 3+13 0+3 0+3 0+3 0+3 "},
        {"pieces alike", kAlike, {entry(1, 2, code(0xca))}, "0+16 1+15 2+14 0+2 "},
        // The first two bytes of each piece are taken for the id: this is meant.
        {"pieces unlike", kOther, {entry(1, 1, code(0xca))}, "0+16 1+15 1+15 1+15 ", 3, -1},
        {"busy", kAlike, {entry(1, 1, code(0xc0))}, "0+16 0+16 ", 1},
        {"another code", kAlike, {entry(1, 4, code(0xd3))}, kFourTimes, 0, -1},
        {"short", kAlike, {entry(1, 1, cut(18))}, "0+16 0+16 ", 1},
        {"long", kAlike, {entry(1, 4, lengthened(40))}, kFourTimes, 4, -1},
        {"another id", kAlike, {entry(1, 3, {.otherRecordId = 0x0201})}, kFourTimes, 3},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SelBmc node;
        Sim::SelRecord alike;
        alike.fill(0x01);
        node.change([&](Sim::Machine& machine) { machine.sel = {alike, record(kOther, kStart)}; });
        ASSERT_EQ(IpmiIfcSelReserve(0), 0);
        node.restart(row.faults);
        ipmiifc_sel_entry entry;
        entry.recordId = row.id;
        EXPECT_EQ(IpmiIfcSelReadEntry(0, &entry), row.result);
        EXPECT_EQ(node.pieces(kReserveSel, kGetSelEntry), row.trace);
        EXPECT_EQ(node.sleeps(), row.slept);
        EXPECT_NE(selReservation(0), 0); // the old one stays when no new one comes
        EXPECT_EQ(entry.recordId, row.result == 0 ? kOther : row.id);
        EXPECT_TRUE(std::ranges::all_of(entry.record.bytes, [&](int b) { return b == (row.result == 0 ? 1 : 0); }));
    }
}

// --- the whole log

struct Limit {
    const char* variable;
    int most; ///< KEEP_SEL_NUMBER
    unsigned entries, kept;
};

/// Ends the process: with 0 when the first load is as it should be.
void firstLoad(const Limit& row)
{
    if (row.variable)
        setenv("CIM_IPMI_SEL_ENTRIES", row.variable, 1);
    KEEP_SEL_NUMBER = row.most;
    SelBmc node(row.entries);
    EXPECT_EQ(node.check(), 0);
    const Records all = node.bmc.machine().sel;
    EXPECT_EQ(cachedRecords(), Records(all.end() - row.kept, all.end()));
    EXPECT_EQ(node.asked(kGetSelEntry), int(row.kept + (row.kept < row.entries)));
    node.erase(0, 0);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cachedRecords(), all);
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

/// The limit counts once per process.
TEST(SelFirstLoad, KeepsTheNewest)
{
    const std::vector<Limit> rows({Limit{"2000", 200, 205, 205}, Limit{nullptr, 200, 260, 200},
                                   Limit{"0", 200, 205, 200}, Limit{"2001", 3, 20, 3}, Limit{"5", 200, 20, 5},
                                   Limit{"-5", -5, 20, 0}, Limit{nullptr, 3, 3, 3}});
    for (const Limit& row : rows)
        EXPECT_EXIT(firstLoad(row), testing::ExitedWithCode(0), "") << row.most << " of " << row.entries;
}

Sim::FaultRule info(std::uint64_t nth, Sim::FaultAction action)
{
    return fault(kGetSelInfo, nth, 1, std::move(action));
}

/// Info's nth answer claims so many records.
Sim::FaultRule claim(std::uint64_t nth, std::uint8_t entries, std::uint8_t version = 0x51)
{
    return info(nth, {.changed = {{1, version}, {2, entries}}});
}

TEST(SelWholeLoad, EndsByInfoCountChainOrFailures)
{
    static const struct {
        const char* name;
        Faults faults;
        const char* ids = "";       ///< null: no info
        int records = 0, infos = 1; ///< asked for
        int complaint = 0;          ///< priority
    } rows[] = {
        {"short info", {info(1, cut(14))}, nullptr},
        {"busy", {info(1, code(0xc0))}, nullptr},
        {"no log", {info(1, code(0xcb))}, nullptr},
        {"erasing", {info(1, code(0x81))}, nullptr},
        {"refused", {info(1, code(0xc1))}, nullptr, 0, 1, LOG_WARNING},
        {"silent", {info(1, kSilence)}, nullptr},
        {"long info", {info(1, lengthened(40))}, "1 2 3 4 5", 5},
        {"many", {info(1, {.changed = {{2, 0x02}, {3, 0x01}}})}, "1 2 3 4 5", 5}, // 258
        {"none", {claim(1, 0)}, "", 0, 1, LOG_ERR},
        {"fewer", {claim(1, 3)}, "1 2 3", 3},
        {"a failure costs one of the count", {entry(2, 4, code(0xd3))}, "1 2 3 4", 8},
        {"ten in a row", {claim(1, 50), entry(3, 0, code(0xd3))}, "1 2", 42},
        {"nine, twice", {claim(1, 50), entry(2, 36, kSilence), entry(39, 36, kSilence)}, "1 2 3 4 5", 77},
        {"to itself", {claim(1, 50), entry(3, 1, {.nextId = 3})}, "1 2 3", 3},
        {"round", {claim(1, 50), entry(5, 1, {.nextId = 1})}, "1 2 3 4 5", 5},
        {"old", {claim(1, 5, 0x02)}, "1 2 3 4 5", 5},
        {"as old", {claim(1, 5, 0x12)}, "1 2 3 4 5", 5},
        // With no version known it asks again, and what came with that answer is dropped.
        {"no version", {claim(1, 5, 0)}, "1 2 3 4 5", 10, 2},
        {"unread then", {claim(1, 5, 0), entry(6, 0, kSilence)}, "", 25, 2},
        {"no answer then", {claim(1, 5, 0), info(2, code(0xc0))}, "", 0, 2},
        {"none still", {claim(1, 5, 0), claim(2, 5, 0)}, "", 0, 2, LOG_ERR},
        {"too old", {claim(1, 5, 0x11)}}, // said once per process
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SelBmc node(5);
        _setState(0, IpmiIfc::IPMI_STATE_CLI);
        node.restart(row.faults);
        unsigned short count = 7;
        EXPECT_EQ(node.check(&count), row.ids ? 0 : -1);
        EXPECT_EQ(cached(), row.ids ? row.ids : "");
        EXPECT_EQ(node.asked(kGetSelEntry), row.records);
        EXPECT_EQ(node.asked(kGetSelInfo), row.infos);
        EXPECT_EQ(node.priorities(), row.complaint ? Priorities{row.complaint} : Priorities{});
        EXPECT_EQ(count, row.ids ? IpmiIfc::getRawSelHeader(0).entryCount() & 0xff : 7);
        EXPECT_EQ(IpmiIfc::getSel(0).get() != nullptr, row.ids != nullptr);
    }
}

// --- what was added

TEST(SelAdditions, AreReadFromTheLastOneKnownWhateverTheLogSays)
{
    static const struct {
        const char* name;
        void (*disturb)(SelBmc&); ///< records 1 to 4 are known (at 10 to 40 s); 5 (at 50 s) and 6 (at 60 s) were added
        const char *cached, *handled;
    } rows[] = {
        {"nothing", [](SelBmc&) {}, "1 2 3 4 5 6", "5 6"},
        {"round", [](SelBmc& node) { node.restart({entry(3, 1, {.nextId = 5})}); }, "1 2 3 4 5 6", "5 6"},
        {"claims none", [](SelBmc& node) { node.restart({claim(1, 0)}); }, "1 2 3 4 5 6", "5 6"},
        {"silent later", [](SelBmc& node) { node.restart({entry(3, 0, kSilence)}); }, "1 2 3 4 5", "5"},
        {"time jumps back", [](SelBmc& node) { node.add(25); }, "1 2 3 4 5 6 7", "5 6"}, // times decide
        // The log is read anew at once where the last one known is gone, whatever the erasure time is.
        {"last one known deleted",
         [](SelBmc& node) {
             node.before = [&node, done = false](const Sim::Request& request) mutable {
                 if (request.cmd == kReserveSel && !std::exchange(done, true))
                     node.erase(4, 4);
                 return true;
             };
         },
         "1 2 3 5 6", "5 6"},
        {"another under its id",
         [](SelBmc& node) {
             node.change([](Sim::Machine& machine) {
                 for (auto& one : machine.sel)
                     one = record(Sim::idOf(one), machine.selAddTime = kStart + 60 + Sim::idOf(one));
             });
         },
         "1 2 3 4 5 6", "1 2 3 4 5 6"},
        {"wrong id of the only one",
         [](SelBmc& node) { node.erase(1, 5), node.restart({entry(1, 1, {.otherRecordId = 9})}); }, "9", "9"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SelBmc node(4);
        ASSERT_EQ(node.check(), 0);
        ASSERT_EQ(node.takeHandled() + cached(), "1 2 3 4");
        node.add(50);
        node.add(60);
        row.disturb(node);
        node.check();
        EXPECT_EQ(cached(), row.cached);
        EXPECT_EQ(node.takeHandled(), row.handled);
        EXPECT_LE(node.bmc.count(), 40u);
        node.before = nullptr;
        node.restart();
        node.add(100); // what was missed comes with it
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cachedRecords(), node.bmc.machine().sel);
    }
}

TEST(SelAdditions, PushOutTheOldest)
{
    KEEP_SEL_NUMBER = 3;
    SelBmc node(3);
    // The info claims so many entries, and no space left.
    for (const auto& [entries, ids] : {std::pair(3, "1 2 3"), {3, "2 3 4"}, {5, "2 3 4 5"}, {4, "3 4 5 6"}}) {
        const Sim::FaultAction full{.changed = {{2, static_cast<std::uint8_t>(entries)}, {4, 0}, {5, 0}}};
        node.restart({fault(kGetSelInfo, 1, 0, full)});
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), ids);
        node.add(40 + static_cast<std::uint32_t>(node.bmc.machine().sel.size()));
    }
    KEEP_SEL_NUMBER = 200;
}

// --- events

TEST(SelEvents, AreChosenByTheirTimes)
{
    SelBmc node;
    node.change([](Sim::Machine& machine) { // times that jump; OEM records; the last has no time
        machine.sel = {record(1, kStart + 10),       record(2, 5),           record(3, kStart + 20, 0x00),
                       record(4, kStart + 90, 0xc0), record(5, kStart + 31), record(6, kNoSelTime),
                       record(7, kNoSelTime, 0xe0)};
        machine.selAddTime = 1;
    });
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(node.takeHandled(), "1 2 3 5 6"); // after a first look it is its own addition time that counts
    for (const auto& [since, ids] :
         {std::pair(kStart + 9, "1 3 5 6"), {kStart + 10, "3 5 6"}, {kStart + 31, "6"}, {kNoSelTime, "1 2 3 5 6"}}) {
        EXPECT_EQ(IpmiIfcSelGenerateEvents(0, since), 0);
        EXPECT_EQ(node.takeHandled(), ids);
    }
    _setState(0, IpmiIfc::IPMI_STATE_CLI);
    IpmiIfcSelGenerateEvents(0, 0);
    forEachSelHandler(0, [](const SelHandler& handler) { handler.function(handler.argument, nullptr); });
    EXPECT_EQ(node.handled, "null");
}

/// Leaves its letter where the argument says.
template <char letter> void handler(void* to, IpmiSelData*)
{
    *static_cast<std::string*>(to) += letter;
    if (letter != 'c')
        return;
    IpmiIfc::unRegisterSelEventHandler(0, handler<'c'>);
    IpmiIfc::unRegisterSelEventHandler(0, handler<'b'>);
    IpmiIfc::registerSelEventHandler(0, handler<'b'>, to);
}

TEST(SelHandlers, AreCalledNewestFirstWhileRegistered)
{
    SelBmc node(2);
    std::string heard, other;
    IpmiIfcSelCleanUpEventHandlers(0); // node's own too
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, handler<'a'>), 2);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(nullptr, nullptr) + IpmiIfc::unRegisterSelEventHandler(nullptr), 10);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(handler<'a'>, &heard), 0);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handler<'a'>, &other), 2);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handler<'b'>, &heard), 0);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handler<'c'>, &heard), 0);
    ASSERT_EQ(IpmiIfcSelReserve(0), 0);
    node.restart({entry(2, 1, {.nextId = 1})}); // a circle: nothing comes twice
    EXPECT_EQ(IpmiIfcSelReadNew(0, 0), 0);
    for (const char* letters : {"caba", "baba"}) { // b left before its turn, and came back too late for it
        EXPECT_EQ(IpmiIfcSelGenerateEvents(0, 0), 0);
        EXPECT_EQ(std::exchange(heard, ""), letters);
    }
    EXPECT_EQ(node.handled, "");
    _setState(0, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(IpmiIfcInitForCLI(0), 0); // a new life: nothing is known, and nobody listens
    EXPECT_EQ(IpmiIfc::getRawSelHeader(0).version(), 0);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, handler<'a'>), 2);
}

// --- other commands

TEST(SelErasure, IsTriedFiveTimesAndSeenAtOnce)
{
    struct Row {
        std::uint8_t cmd;
        Sim::FaultAction action;
        std::uint64_t count;
        int result;
        const char* ids;
        int asked = 1;
        std::size_t sleeps = 0, errors = 0;
    };
    constexpr std::uint8_t kClear = wire::kClearSel.cmd, kDelete = wire::kDeleteSelEntry.cmd;
    const Sim::FaultAction failed{.changed = {{1, 2}}}, reservedBits{.changed = {{1, 0xf1}}}; // as progress
    const Row rows[] = {
        // command, action, how often, result, records then, how often asked, pauses, errors logged
        {kClear, {}, 1, 0, ""},
        {kClear, reservedBits, 1, 0, ""},
        {kClear, failed, 1, 2, "", 1, 0, 1},
        {kClear, code(0xd4), 1, 5, "1 2 3", 1, 0, 1},
        {kClear, kSilence, 1, 4, "1 2 3"},
        {kClear, code(0xc0), 4, 0, "", 5, 4},
        {kClear, code(0xc0), 5, 2, "1 2 3", 5, 5},
        {kClear, kLost, 1, 2, "1 2 3", 5}, // its reservation is not renewed: this is meant
        {kDelete, {}, 1, 0, "1 3"},
        {kDelete, kLost, 4, 0, "1 3", 5},
        {kDelete, kSilence, 1, 4, "1 2 3"},
        {kDelete, code(0xcb), 1, 5, "1 2 3", 1, 0, 1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        SelBmc node(4);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(IpmiIfc::deleteSelEntry(4), 0); // in the second of the erasure that follows
        node.restart({fault(row.cmd, 1, row.count, row.action)});
        EXPECT_EQ(row.cmd == kClear ? IpmiIfc::clearSel() : IpmiIfc::deleteSelEntry(2), row.result);
        EXPECT_EQ(cached(), row.ids);
        EXPECT_EQ(node.asked(row.cmd), row.asked);
        EXPECT_EQ(node.sim.clock().sleeps(), std::vector(row.sleeps, 5u));
        std::size_t errors = 0;
        for (const auto& complaint : node.complaints()) // of an empty log they do not count
            errors += complaint.text.starts_with("IpmiIfcSelGetAll") ? 0 : 1;
        EXPECT_EQ(errors, row.errors);
        node.restart({fault(kReserveSel, 1, 0, code(0xd5))});
        EXPECT_EQ(node.check() + node.asked(kReserveSel), 0) << "nothing is new";
        EXPECT_NE(IpmiIfc::deleteSelEntry(1), 0) << "under an older reservation";
    }
}

TEST(SelValues, ComeWholeOrNotAtAll)
{
    SelBmc node(3);
    const IpmiSel sel({}, {}, 0);
    node.bmc.state()->clock.set(kStart);
    EXPECT_EQ(IpmiIfc::selGetClock(), kStart);
    IpmiIfc::setLastProcessedSELEntry(2);
    EXPECT_EQ(IpmiIfc::getLastProcessedSELEntry(), 2);
    sel.disable();
    EXPECT_FALSE(sel.isEnabled() || node.bmc.logsEvents());
    sel.enable();
    EXPECT_TRUE(sel.isEnabled() && node.bmc.logsEvents());
    for (const auto& action : {cut(1), code(0xd5), kSilence}) {
        node.restart({{.action = action}});
        EXPECT_EQ(IpmiIfc::selGetClock(), 0u);
        EXPECT_EQ(IpmiIfc::getLastProcessedSELEntry(), 0);
        EXPECT_THROW(sel.isEnabled(), CmpiStatus);
        EXPECT_THROW(sel.disable(), CmpiStatus);
    }
    node.restart({{.action = cut(4)}});
    EXPECT_EQ(IpmiIfc::selGetClock(), 0u);
    node.restart({{.action = {.changed = {{7, 0xff}, {8, 0xff}}}}});
    EXPECT_EQ(IpmiIfc::getLastProcessedSELEntry(), 0);
    node.restart({{.count = 1, .action = {.changed = {{1, 0xf4}}}}, {.from = 2, .action = code(0xd5)}});
    EXPECT_THROW(sel.enable(), CmpiStatus);
    EXPECT_EQ(node.bmc.log().back().data, Bytes{0xfc});
}

/// The rest of the summary is what `trx-ipmi sel info` shows.
TEST(SelSummary, HasTimesAndAllocation)
{
    SelBmc node(2);
    ipmiifc_resp resp;
    resp.datalen = 10, resp.data[3] = 0x20, resp.cc = 0xc1; // allocation unit
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), -1);
    resp.cc = 0;
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), 0);
    node.change([](Sim::Machine& machine) { machine.selEraseTime = 0x20000000; }); // since the BMC's start
    EXPECT_EQ(node.check(), 0);
    const IpmiSel& sel = *IpmiIfc::getSel();
    EXPECT_EQ(sel.getAllocationUnitSize(), 0x20u);
    EXPECT_EQ(sel.getAddTimeStampUnix(), kStart + 20);
    EXPECT_EQ(sel.getEraseTimeStampUnix(), 0u);
    EXPECT_GT(sel.getMaxNumberOfRecords(), 2);
    EXPECT_EQ(IpmiSel({}, {}, 0).getAllocationUnitSize(), 16u);
}

} // namespace
