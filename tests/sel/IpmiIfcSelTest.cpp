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

// --- the whole log

/// Ends the process: with 0 when the first load is as it should be.
void firstLoad(const char* variable, int most, unsigned entries, unsigned kept)
{
    if (variable)
        setenv("CIM_IPMI_SEL_ENTRIES", variable, 1);
    KEEP_SEL_NUMBER = most;
    SelBmc node(entries);
    EXPECT_EQ(node.check(), 0);
    const Records all = node.bmc.machine().sel;
    EXPECT_EQ(cachedRecords(), Records(all.end() - kept, all.end()));
    EXPECT_EQ(node.asked(kGetSelEntry), int(kept + (kept < entries)));
    node.erase(0, 0);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cachedRecords(), all);
    std::exit(testing::Test::HasFailure() ? 1 : 0);
}

/// The limit counts once per process.
TEST(SelFirstLoad, KeepsTheNewest)
{
    using Row = std::tuple<const char*, int, unsigned, unsigned>; // environment, KEEP_SEL_NUMBER, entries, kept ones
    for (const auto& [variable, most, entries, kept] :
         {Row{"2000", 200, 205, 205}, Row{nullptr, 200, 260, 200}, Row{"0", 200, 205, 200}, Row{"2001", 3, 20, 3},
          Row{"5", 200, 20, 5}, Row{"-5", -5, 20, 0}, Row{nullptr, 3, 3, 3}})
        EXPECT_EXIT(firstLoad(variable, most, entries, kept), testing::ExitedWithCode(0), "") << most << ' ' << entries;
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
        {"long info", {info(1, lengthened(40))}, "1 2 3 4 5", 5},
        {"many", {info(1, {.changed = {{2, 0x02}, {3, 0x01}}})}, "1 2 3 4 5", 5}, // 258
        {"none", {claim(1, 0)}, "", 0, 1, LOG_ERR},
        {"a failure costs one of the count", {entry(2, 4, code(0xd3))}, "1 2 3 4", 8},
        {"ten in a row", {claim(1, 50), entry(3, 0, code(0xd3))}, "1 2", 42},
        {"nine, twice", {claim(1, 50), entry(2, 36, kSilence), entry(39, 36, kSilence)}, "1 2 3 4 5", 77},
        {"to itself", {claim(1, 50), entry(3, 1, {.nextId = 3})}, "1 2 3", 3},
        {"round", {claim(1, 50), entry(5, 1, {.nextId = 1})}, "1 2 3 4 5", 5},
        {"old", {claim(1, 5, 0x02)}, "1 2 3 4 5", 5},
        // With no version known it asks again, and what came with that answer is dropped.
        {"no version", {claim(1, 5, 0)}, "1 2 3 4 5", 10, 2},
        {"unread then", {claim(1, 5, 0), entry(6, 0, kSilence)}, "", 25, 2},
        {"no answer then", {claim(1, 5, 0), info(2, code(0xc0))}, "", 0, 2},
        {"none still", {claim(1, 5, 0), claim(2, 5, 0)}, "", 0, 2, LOG_ERR},
        {"too old", {claim(1, 5, 0x11)}}, // said once per process
    };
    for (const auto& [name, faults, ids, records, infos, complaint] : rows) {
        SCOPED_TRACE(name);
        SelBmc node(5);
        _setState(0, IpmiIfc::IPMI_STATE_CLI);
        node.restart(faults);
        unsigned short count = 7;
        EXPECT_EQ(node.check(&count), ids ? 0 : -1);
        EXPECT_EQ(cached(), ids ? ids : "");
        EXPECT_EQ(facts("records infos count summary", node.asked(kGetSelEntry), node.asked(kGetSelInfo), count,
                        IpmiIfc::getSel(0).get() != nullptr),
                  facts("records infos count summary", records, infos,
                        ids ? IpmiIfc::getRawSelHeader(0).entryCount() & 0xff : 7, ids != nullptr));
        EXPECT_EQ(node.priorities(), complaint ? Priorities{complaint} : Priorities{});
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
    for (const auto& [entries, ids] : {std::pair(3, "1 2 3"), {3, "2 3 4"}, {5, "2 3 4 5"}, {2, "4 5 6"}}) {
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
    EXPECT_EQ(IpmiIfcSelReadNew(0, 0), -1) << "an empty log";
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
    node.restart({entry(2, 1, {.nextId = 1})}); // a circle: nothing comes twice
    EXPECT_EQ(IpmiIfcSelReadNew(0, 0), 0);
    for (const char* letters : {"caba", "baba"}) { // b left before its turn, and came back too late for it
        EXPECT_EQ(IpmiIfcSelGenerateEvents(0, 0), 0);
        EXPECT_EQ(std::exchange(heard, ""), letters);
    }
    EXPECT_EQ(node.handled, "");
    EXPECT_EQ(node.check(), 0);
    _setState(0, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(IpmiIfcInitForCLI(0), 0); // a new life: nothing is known, and nobody listens
    EXPECT_EQ(IpmiIfc::getRawSelHeader(0).version(), 0);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, handler<'a'>), 2);
}

// --- other commands

TEST(SelErasure, IsTriedFiveTimesAndSeenAtOnce)
{
    constexpr std::uint8_t kClear = wire::kClearSel.cmd, kDelete = wire::kDeleteSelEntry.cmd;
    const Sim::FaultAction failed{.changed = {{1, 2}}}, reservedBits{.changed = {{1, 0xf1}}}; // as progress
    // Command; what becomes of it, how often; result; records then; how often it is asked; pauses; errors logged.
    using Row = std::tuple<std::uint8_t, Sim::FaultAction, std::uint64_t, int, const char*, int, std::size_t, int>;
    for (const auto& [cmd, action, count, result, ids, asked, pauses, errors] :
         {Row{kClear, reservedBits, 1, 0, "", 1, 0, 0}, Row{kClear, failed, 1, 2, "", 1, 0, 1},
          Row{kClear, code(0xd4), 1, 5, "1 2 3", 1, 0, 1}, Row{kClear, kSilence, 1, 4, "1 2 3", 1, 0, 0},
          Row{kClear, code(0xc0), 4, 0, "", 5, 4, 0}, Row{kClear, code(0xc0), 5, 2, "1 2 3", 5, 5, 0},
          Row{kClear, kLost, 1, 2, "1 2 3", 5, 0, 0}, // its reservation is not renewed: this is meant
          Row{kDelete, kLost, 4, 0, "1 3", 5, 0, 0}, Row{kDelete, code(0xcb), 1, 5, "1 2 3", 1, 0, 1}}) {
        SCOPED_TRACE(testing::Message() << int{cmd} << ": " << result << " " << ids << " " << asked);
        SelBmc node(4);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(IpmiIfc::deleteSelEntry(4), 0); // in the second of the erasure that follows
        node.restart({fault(cmd, 1, count, action)});
        EXPECT_EQ(cmd == kClear ? IpmiIfc::clearSel() : IpmiIfc::deleteSelEntry(2), result);
        EXPECT_EQ(cached(), ids);
        EXPECT_EQ(node.asked(cmd), asked);
        EXPECT_EQ(node.sim.clock().sleeps(), std::vector(pauses, 5u));
        const auto complaints = node.complaints(); // of an empty log they do not count
        EXPECT_EQ(std::ranges::count_if(complaints,
                                        [](const auto& line) { return !line.text.starts_with("IpmiIfcSelGetAll"); }),
                  errors);
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
    EXPECT_EQ(IpmiIfc::selGetClock() + IpmiIfc::getLastProcessedSELEntry(), 0u);
    node.restart({{.action = {.changed = {{7, 0xff}, {8, 0xff}}}}});
    EXPECT_EQ(IpmiIfc::getLastProcessedSELEntry(), 0);
    node.restart({{.count = 1, .action = {.changed = {{1, 0xf4}}}}, {.from = 2, .action = code(0xd5)}});
    EXPECT_THROW(sel.enable(), CmpiStatus);
    EXPECT_EQ(node.bmc.log().back().data, Bytes{0xfc});

    ipmiifc_resp allocation;
    for (const int cc : {0xc1, 0}) {
        allocation.datalen = 10, allocation.data[3] = 0x20, allocation.cc = static_cast<std::uint8_t>(cc); // its unit
        EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&allocation), cc == 0 ? 0 : -1);
    }
    node.restart();
    node.change([](Sim::Machine& machine) { machine.selEraseTime = 0x20000000; }); // since the BMC's start
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(IpmiIfc::getSel()->getAllocationUnitSize(), 0x20u);
    EXPECT_EQ(IpmiIfc::getSel()->getEraseTimeStampUnix(), 0u);
    EXPECT_GT(IpmiIfc::getSel()->getMaxNumberOfRecords(), 3);
    EXPECT_EQ(sel.getAllocationUnitSize(), 16u);
}

} // namespace
