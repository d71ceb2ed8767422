#include "sel/SelBmc.h"

#include "ipmi/CmpiStatus.h"
#include "sel/SelTime.h"

#include <cstdlib>

using namespace Ipmi;
using namespace SelTest;

namespace
{

// --- one record

/// Offset and size of each piece, "/" where it is asked for without reservation, and an "R" for each reservation.
std::string traceOf(const Sim::Bmc& bmc)
{
    std::string trace;
    for (const Sim::Request& request : bmc.log())
        if (request.cmd == kReserveSel)
            trace += "R ";
        else if (request.cmd == kGetSelEntry)
            trace += std::to_string(request.data.at(4)) + '+' + std::to_string(request.data.at(5)) +
                     (request.data[0] + request.data[1] == 0 ? "/ " : " ");
    return trace;
}

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
        EXPECT_EQ(traceOf(node.bmc), row.trace);
        EXPECT_EQ(node.sleeps(), row.slept);
        EXPECT_NE(selReservation(0), 0); // the old one stays when no new one comes
        EXPECT_EQ(entry.recordId, row.result == 0 ? kOther : row.id);
        EXPECT_TRUE(std::ranges::all_of(entry.record.bytes, [&](int b) { return b == (row.result == 0 ? 1 : 0); }));
    }
    SelBmc node;
    node.restart({fault(kReserveSel, 1, 1, code(0xc0))});
    EXPECT_EQ(IpmiIfcSelReserve(0), -1);
    EXPECT_EQ(node.sim.clock().sleeps(), std::vector(1, 1u)); // a second each
}

// --- the whole log

struct Limit {
    const char *name, *variable;
    int most; ///< KEEP_SEL_NUMBER
    unsigned entries, kept;

    friend void PrintTo(const Limit& limit, std::ostream* out) { *out << limit.name; }
};

class SelFirstLoad : public testing::TestWithParam<Limit>
{
};

/// The limit counts once per process; ctest runs each of these in a process of its own.
TEST_P(SelFirstLoad, KeepsTheNewest)
{
    const Limit& row = GetParam();
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
}

constexpr Limit kLimits[] = {{"most", "2000", 200, 205, 205}, {"none", nullptr, 200, 260, 200},
                             {"zero", "0", 200, 205, 200},    {"tooMany", "2001", 3, 20, 3},
                             {"five", "5", 200, 20, 5},       {"belowNothing", "-5", -5, 20, 0},
                             {"exact", nullptr, 3, 3, 3}};
INSTANTIATE_TEST_SUITE_P(, SelFirstLoad, testing::ValuesIn(kLimits), testing::PrintToStringParamName());

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
        const char* complaint = "";
    } rows[] = {
        {"short info", {info(1, cut(14))}, nullptr},
        {"busy", {info(1, code(0xc0))}, nullptr},
        {"no log", {info(1, code(0xcb))}, nullptr},
        {"erasing", {info(1, code(0x81))}, nullptr},
        {"refused", {info(1, code(0xc1))}, nullptr, 0, 1, "IpmiIfcSelGetInfo: IPMI_CMD_GET_SEL_INFO cc=0xc1"},
        {"silent", {info(1, kSilence)}, nullptr},
        {"long info", {info(1, lengthened(40))}, "1 2 3 4 5", 5},
        {"many", {info(1, {.changed = {{2, 0x02}, {3, 0x01}}})}, "1 2 3 4 5", 5}, // 258
        {"none", {claim(1, 0)}, "", 0, 1, "IpmiIfcSelGetAll: node 0 no record count"},
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
        {"none still", {claim(1, 5, 0), claim(2, 5, 0)}, "", 0, 2, "IpmiIfcSelGetAll: invalid version. Version = 0x0"},
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
        EXPECT_EQ(node.complaints(), Lines(row.complaint[0] ? 1 : 0, {row.ids ? LOG_ERR : LOG_WARNING, row.complaint}));
        EXPECT_EQ(count, row.ids ? IpmiIfc::getRawSelHeader(0).entryCount() & 0xff : 7);
        EXPECT_EQ(IpmiIfc::getSel(0).get() != nullptr, row.ids != nullptr);
    }
}

// --- what was added

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
}

TEST(SelHandlers, MayErase)
{
    SelBmc node(1);
    EXPECT_EQ(node.check(), 0);
    IpmiIfc::registerSelEventHandler(
        0, [](void*, IpmiSelData*) { EXPECT_EQ(IpmiIfc::clearSel(0), 0); }, nullptr);
    node.add(20);
    node.add(30);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cached() + " " + node.handled, "1 2 3 2 3"); // inside a check nothing changes
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cached(), "");
    _setState(0, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(IpmiIfcInitForCLI(0), 0); // a new life: nothing is known, and nobody listens
    EXPECT_EQ(IpmiIfc::getRawSelHeader(0).version(), 0);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, node.note), 2);
}

// --- other commands

TEST(SelErasure, IsTriedFiveTimesAndSeenAtOnce)
{
    static const struct {
        std::uint8_t cmd;
        Sim::FaultAction action;
        std::uint64_t count;
        int result;
        const char* ids;
        int asked = 1, sleeps = 0;
        std::string error = "";
    } rows[] = {
        {kClearSel, {}, 1, 0, ""},
        {kClearSel, {.changed = {{1, 0xf1}}}, 1, 0, ""},
        {kClearSel, {.changed = {{1, 2}}}, 1, 2, "", 1, 0, "unspecified error cc = 0x0, erasure status = 0x2"},
        {kClearSel, code(0xd4), 1, 5, "1 2 3", 1, 0, "Failed with completion code = 0xd4"},
        {kClearSel, kSilence, 1, 4, "1 2 3"},
        {kClearSel, code(0xc0), 4, 0, "", 5, 4},
        {kClearSel, code(0xc0), 5, 2, "1 2 3", 5, 5},
        {kClearSel, kLost, 1, 2, "1 2 3", 5}, // its reservation is not renewed: this is meant
        {kDeleteSelEntry, {}, 1, 0, "1 3"},
        {kDeleteSelEntry, kLost, 4, 0, "1 3", 5},
        {kDeleteSelEntry, kSilence, 1, 4, "1 2 3"},
        {kDeleteSelEntry, code(0xcb), 1, 5, "1 2 3", 1, 0, "Failed with completion code = 0xcb"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        SelBmc node(4);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(IpmiIfc::deleteSelEntry(4), 0); // in the second of the erasure that follows
        node.restart({fault(row.cmd, 1, row.count, row.action)});
        const bool clears = row.cmd == kClearSel;
        EXPECT_EQ(clears ? IpmiIfc::clearSel() : IpmiIfc::deleteSelEntry(2), row.result);
        EXPECT_EQ(cached(), row.ids);
        EXPECT_EQ(node.asked(row.cmd), row.asked);
        EXPECT_EQ(node.sim.clock().sleeps(), std::vector(static_cast<std::size_t>(row.sleeps), 5u));
        const std::string error = (clears ? "clearSel: " : "deleteSelEntry: ") + row.error;
        Lines complaints = node.complaints();
        std::erase_if(complaints, [](const auto& one) { return one.text.starts_with("IpmiIfcSelGetAll"); });
        EXPECT_EQ(complaints, line(LOG_ERR, row.error.empty() ? nullptr : error.c_str()));
        node.restart({fault(kReserveSel, 1, 0, code(0xd5))});
        EXPECT_EQ(node.check() + node.asked(kReserveSel), 0) << "nothing is new";
        EXPECT_NE(IpmiIfc::deleteSelEntry(1), 0) << "under an older reservation";
    }
}

TEST(SelValues, ComeWholeOrNotAtAll)
{
    SelBmc node(3);
    const IpmiSel sel({}, {}, 0);
    node.bmc.setSelTime(kStart);
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

TEST(SelSummary, IsMadeOfInfoAndAllocation)
{
    SelBmc node(2);
    ipmiifc_resp resp;
    resp.datalen = 10, resp.data[3] = 0x20; // allocation unit
    resp.cc = 0xc1;
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), -1);
    resp.cc = 0;
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), 0);
    node.change([](Sim::Machine& machine) { machine.selEraseTime = 0x20000000; }); // since the BMC's start
    node.restart({fault(kGetSelInfo, 1, 0, {.changed = {{4, 0x2f}, {5, 0}, {14, 0x8b}}})});
    EXPECT_EQ(node.check(), 0);
    const IpmiSel& sel = *IpmiIfc::getSel();
    EXPECT_EQ((std::vector{sel.version(), sel.getCurrentNumberOfRecords(), sel.getFlags(), sel.getAllocationUnitSize(),
                           sel.getAddTimeStampUnix(), sel.getEraseTimeStampUnix()}),
              (std::vector{0x51u, 2u, 0x8bu, 0x20u, kStart + 20, 0u}));
    EXPECT_EQ(sel.getMaxNumberOfRecords(), 4);
    EXPECT_TRUE(sel.getOverFlowFlag());
    EXPECT_EQ(IpmiSel({}, {}, 0).getAllocationUnitSize(), 16u);
}

TEST(SelNoNode, IsRefusedEverywhere)
{
    for (const int bad : {-1, 4, 100}) {
        ipmiifc_resp resp;
        resp.datalen = 15, resp.node = bad;
        EXPECT_EQ(IpmiIfcRhSelInfoNoCount(&resp) + IpmiIfcRhSelGetAllocInfo(&resp), -2);
        EXPECT_EQ(IpmiIfcSelReserve(bad) + IpmiIfcSelReadAll(bad) + IpmiIfcSelReadNew(bad, 1), -3);
        EXPECT_EQ(IpmiIfcSelGetInfo(bad, nullptr) + IpmiIfcSelGetAll(bad), -3);
        EXPECT_EQ(IpmiIfc::clearSel(bad) + IpmiIfc::deleteSelEntry(bad, 1), -4);
        EXPECT_EQ(IpmiIfc::registerSelEventHandler(bad, handler<'a'>, nullptr), 5);
        EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(bad, handler<'a'>), 5);
        EXPECT_FALSE(IpmiIfc::getSel(bad) || IpmiIfcSelGenerateEvents(bad, 0) != 0);
        EXPECT_EQ(IpmiIfc::getRawSelHeader(bad).version() + IpmiIfc::getSelData(bad).size(), 0u);
        IpmiIfcSelCleanUpEventHandlers(bad);
    }
}

} // namespace
