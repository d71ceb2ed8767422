#include "sel/SelBmc.h"

#include "ipmi/CmpiStatus.h"
#include "node/NodeFixture.h"
#include "sel/SelTime.h"

#include <cstdlib>

using namespace Ipmi;
using namespace SelTest;

namespace
{

// --- info and reservation

TEST(SelInfo, IsTakenWholeOrNotAtAll)
{
    constexpr unsigned short kUntouched = 0x1234;
    static const struct {
        Sim::FaultAction action;
        int result;
        const char* warning;
        unsigned short count = kUntouched;
    } rows[] = {
        {{}, 0, nullptr, 3},
        {lengthened(40), 0, nullptr, 3},
        {{.changed = {{2, 0x00}, {3, 0x01}}}, 0, nullptr, 0}, // 256 entries
        {{.changed = {{2, 0x01}, {3, 0x01}}}, 0, nullptr, 1},
        {cut(14), -1, nullptr},
        {cut(1), -1, nullptr},
        {code(0xc0), -1, nullptr},
        {code(0xcb), -1, nullptr},
        {code(0x81), -1, nullptr},
        {code(0xc1), -1, "IpmiIfcSelGetInfo: IPMI_CMD_GET_SEL_INFO cc=0xc1"},
        {kSilence, -1, nullptr},
    };
    for (const auto& row : rows) {
        SelBmc node(3);
        node.restart({fault(kGetSelInfo, 1, 0, row.action)});
        unsigned short count = kUntouched;
        EXPECT_EQ(node.check(&count), row.result);
        EXPECT_EQ(count, row.count);
        EXPECT_EQ(cached(), row.result == 0 ? "1 2 3" : "");
        EXPECT_EQ(IpmiIfc::getSel(0).get() != nullptr, row.result == 0);
        EXPECT_EQ(IpmiIfc::getRawSelHeader(0).addTime(), row.result == 0 ? kStart + 30 : 0);
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.warning));
        EXPECT_EQ(node.check(), row.result); // no change: nothing more is asked
        EXPECT_EQ(node.asked(kReserveSel), row.result == 0 ? 1 : 0);
    }
}

TEST(SelReserve, KeepsTheOldReservationWhenItFails)
{
    static const struct {
        Sim::FaultAction action;
        std::vector<unsigned> sleeps;
        int priority;
        const char* text;
    } rows[] = {
        {kSilence, {}, LOG_WARNING, "Transmit issue for IPMI SEL Reserve node 0"},
        {code(0xc0), {1}, 0, nullptr},
        {code(0xc1), {1}, LOG_DEBUG, "node: 0 reserve sel command is not supported"},
        {code(0xd5), {}, LOG_WARNING, "node: 0 reserve sel failed cc 0xd5"},
        {cut(2), {}, 0, nullptr},
    };
    for (const auto& row : rows) {
        SelBmc node;
        ASSERT_EQ(IpmiIfcSelReserve(0), 0);
        const auto before = selReservation(0);
        node.restart({fault(kReserveSel, 1, 1, row.action)});
        EXPECT_EQ(IpmiIfcSelReserve(0), -1);
        EXPECT_EQ(selReservation(0), before);
        EXPECT_EQ(node.sim.clock().sleeps(), row.sleeps);
        EXPECT_EQ(node.complaints(), line(LOG_WARNING, row.priority == LOG_WARNING ? row.text : nullptr));
        EXPECT_TRUE(row.priority != LOG_DEBUG || node.debugLines(row.text) == 1);
        EXPECT_EQ(IpmiIfcSelReserve(0), 0);
        EXPECT_NE(selReservation(0), before);
    }
}

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
    constexpr std::uint16_t kAny = 0, kOwn = 0x0101; // of a record whose bytes are all alike
    static const struct {
        const char* name;
        std::uint16_t id;
        Faults faults;
        const char* trace;
        int slept = 0, result = 0;
    } rows[] = {
        {"whole", kOwn, {}, "0+16 "},
        {"silent three times", kOwn, {entry(1, 3, kSilence)}, kFourTimes},
        {"silent", kOwn, {entry(1, 4, kSilence)}, kFourTimes, 0, -1},
        {"reservation lost", kOwn, {entry(1, 2, kLost)}, "0+16 R 0+16 R 0+16 ", 4},
        {"no new one", kOwn, {entry(1, 1, kLost), fault(kReserveSel, 1, 0, kSilence)}, "0+16 R 0+16/ ", 2},
        {"lost for good", kOwn, {entry(1, 0, kLost)}, "0+16 R 0+16 R 0+16 R 0+16 R ", 8, -1},
        {"too many bytes", kAny, {entry(1, 2, code(0xca))}, "0+16 1+15 2+14 0+2 "},
        {"bad length", kAny, {entry(1, 1, code(0xc7)), entry(3, 1, code(0xc7))}, "0+16 1+15 0+1 0+1 "},
        {"attempts begin anew",
         kAny,
         {entry(1, 3, code(0xca)), entry(5, 3, kSilence)},
         "0+16 1+15 2+14 3+13 0+3 0+3 0+3 0+3 "},
        {"pieces alike", 0x0101, {entry(1, 2, code(0xca))}, "0+16 1+15 2+14 0+2 "},
        {"too many for good", kAny, {entry(1, 0, code(0xca))}, "0+16 1+15 2+14 3+13 ", 0, -1},
        {"busy", kOwn, {entry(1, 1, code(0xc0))}, "0+16 0+16 ", 1},
        {"another code", kOwn, {entry(1, 4, code(0xd3))}, kFourTimes, 0, -1},
        {"short", kOwn, {entry(1, 1, cut(18))}, "0+16 0+16 ", 1},
        {"long", kOwn, {entry(1, 4, lengthened(40))}, kFourTimes, 4, -1},
        {"another id", kOwn, {entry(1, 3, {.otherRecordId = 0x0201})}, kFourTimes, 3},
        {"another id for good", kOwn, {entry(1, 4, {.otherRecordId = 0x0201})}, kFourTimes, 4, -1},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SelBmc node;
        Sim::SelRecord alike;
        alike.fill(0x01);
        node.change([&](Sim::Machine& machine) { machine.sel = {alike, record(7, kStart)}; });
        ASSERT_EQ(IpmiIfcSelReserve(0), 0);
        node.restart(row.faults);
        ipmiifc_sel_entry entry;
        entry.recordId = row.id;
        EXPECT_EQ(IpmiIfcSelReadEntry(0, &entry), row.result);
        EXPECT_EQ(traceOf(node.bmc), row.trace);
        EXPECT_EQ(node.sleeps(), row.slept);
        EXPECT_EQ(entry.recordId, row.result == 0 ? 7 : row.id);
        EXPECT_TRUE(std::ranges::all_of(entry.record.bytes, [&](int b) { return b == (row.result == 0 ? 1 : 0); }));
    }
}

TEST(SelRecordRead, TakesTheFirstBytesOfEachPieceForTheId)
{
    SelBmc node(1);
    ASSERT_EQ(IpmiIfcSelReserve(0), 0);
    node.restart({entry(1, 1, code(0xca))});
    ipmiifc_sel_entry one;
    one.recordId = 1;
    EXPECT_EQ(IpmiIfcSelReadEntry(0, &one), -1); // bytes 1 and 2 are not the id: this is meant
    EXPECT_EQ(traceOf(node.bmc), "0+16 1+15 1+15 1+15 ");
}

// --- the whole log

struct Limit {
    const char* name;
    const char* variable;
    int most; ///< KEEP_SEL_NUMBER
    unsigned entries;
    unsigned first; ///< record kept; 0: none
};
constexpr Limit kLimits[] = {
    {"five", "5", 200, 20, 16},       {"one", "1", 200, 20, 20},       {"most", "2000", 200, 205, 1},
    {"none", nullptr, 200, 205, 6},   {"zero", "0", 200, 205, 6},      {"tooMany", "2001", 200, 205, 6},
    {"noNumber", "abc", 200, 205, 6}, {"negative", "-1", 200, 205, 6}, {"huge", "99999999999999999999", 200, 205, 6},
    {"ownLimit", nullptr, 3, 20, 18}, {"nothing", nullptr, 0, 20, 0},  {"belowNothing", "-5", -5, 20, 0},
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
    EXPECT_EQ(cached(), row.first == 0 ? "" : range(row.first, row.entries));
    const bool skips = row.first > 1;
    EXPECT_EQ(node.asked(kGetSelEntry), row.first == 0 ? 1 : int(row.entries - row.first + 1 + skips));
    EXPECT_EQ(node.sim.log().count(LOG_INFO, std::string("SEL entry amount from Environment is ") +
                                                 (row.variable ? row.variable : "") + '.'),
              row.variable ? 1 : 0);
    node.erase(0, 0);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cached(), range(1, row.entries));
    unsetenv("CIM_IPMI_SEL_ENTRIES");
}

INSTANTIATE_TEST_SUITE_P(, SelFirstLoad, testing::ValuesIn(kLimits), [](const auto& info) { return info.param.name; });

Sim::FaultAction claim(std::uint8_t entries, std::uint8_t version = 0x51)
{
    return {.changed = {{1, version}, {2, entries}}};
}

TEST(SelWholeLoad, EndsByCountChainOrFailures)
{
    static const struct {
        const char* name;
        std::uint8_t claimed;
        Faults faults;
        const char* ids;
        int asked;
        const char* error = nullptr;
    } rows[] = {
        {"none", 0, {}, "", 0, "IpmiIfcSelGetAll: node 0 no record count"},
        {"fewer", 3, {}, "1 2 3", 3},
        {"more", 200, {}, "1 2 3 4 5", 5},
        {"a failure costs one of the count", 5, {entry(2, 4, code(0xd3))}, "1 2 3 4", 8},
        {"ten in a row", 50, {entry(3, 0, code(0xd3))}, "1 2", 42},
        {"nine in a row, twice", 50, {entry(2, 36, kSilence), entry(39, 36, kSilence)}, "1 2 3 4 5", 77},
        {"to itself", 50, {entry(3, 1, {.nextId = 3})}, "1 2 3", 3},
        {"round", 50, {entry(4, 1, {.nextId = 2})}, "1 2 3 4", 4},
        {"round from the first on", 50, {entry(5, 1, {.nextId = 1})}, "1 2 3 4 5", 5},
        {"counted from 0", 5, {entry(1, 1, {.otherRecordId = 0})}, "0 2 3 4 5", 5},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        SelBmc node(5);
        Faults faults = row.faults;
        faults.push_back(fault(kGetSelInfo, 1, 0, claim(row.claimed)));
        node.restart(faults);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), row.ids);
        EXPECT_EQ(node.asked(kGetSelEntry), row.asked);
        EXPECT_EQ(node.complaints(), line(LOG_ERR, row.error));
    }
    SelBmc node;
    EXPECT_EQ(IpmiIfcSelReadAll(0), -1);
    EXPECT_EQ(node.bmc.count(), 0u);
}

TEST(SelWholeLoad, ChecksTheVersion)
{
    static const struct {
        std::vector<std::uint8_t> versions; ///< of the infos, one after another
        const char* ids;
        const char* error = nullptr; ///< once per process
    } rows[] = {
        {{0x51}, "1 2"},
        {{0x02}, "1 2"},
        {{0x12}, "1 2"},
        {{0, 0x51}, "1 2"},
        {{0, 0}, "", "IpmiIfcSelGetAll: invalid version. Version = 0x0"},
        {{0x11}, ""},
    };
    for (const auto& row : rows) {
        SelBmc node(2);
        _setState(0, IpmiIfc::IPMI_STATE_CLI);
        Faults faults;
        for (std::size_t i = 0; i < row.versions.size(); ++i)
            faults.push_back(fault(kGetSelInfo, i + 1, 1, claim(2, row.versions[i])));
        node.restart(faults);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), row.ids);
        EXPECT_EQ(node.asked(kGetSelInfo), int(row.versions.size()));
        EXPECT_EQ(node.complaints(), line(LOG_ERR, row.error));
    }
    {
        SelBmc node(2); // its second info comes with the records, but they cannot be read again
        _setState(0, IpmiIfc::IPMI_STATE_CLI);
        node.restart({fault(kGetSelInfo, 1, 1, claim(2, 0)), entry(3, 0, kSilence)});
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), "");
        _setState(0, IpmiIfc::IPMI_STATE_RUNNING);
        node.restart();
        node.add(100);
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), "1 2 3");
    }
    SelBmc node(2); // with nothing known it asks for the info itself
    node.restart({fault(kGetSelInfo, 1, 1, code(0xc0))});
    EXPECT_EQ(IpmiIfcSelGetAll(0), -1);
    EXPECT_EQ(IpmiIfcSelGetAll(0), 0);
    EXPECT_EQ(cached(), "1 2");
}

// --- what was added

TEST(SelAdditions, FollowTheLastOneKnown)
{
    static const struct {
        unsigned known, firstId;
        const char* ids;
        Faults faults = {};
        int result = 0;
        const char* error = nullptr;
    } rows[] = {
        {0, 1, "1 2"}, // from the first on
        {0, 1, "1 2", {entry(2, 1, {.nextId = 1})}},
        {1, 0, "0 1 2"},
        {2, 1, "1 2", {entry(1, 4, code(0xcb))}, -1},
        {2, 1, "1 2 3", {entry(3, 4, kSilence)}, -1, "IpmiIfcSelReadNew: failed call to IpmiIfcSelReadEntry cc = 0xff"},
        {2, 1, "1 2 3", {entry(2, 1, {.nextId = 2})}},
    };
    for (const auto& row : rows) {
        SelBmc node(row.known, row.firstId);
        EXPECT_EQ(node.check(), 0);
        node.add(100);
        node.add(110);
        ASSERT_EQ(IpmiIfcSelReserve(0), 0);
        node.restart(row.faults);
        const unsigned last = row.known + row.firstId;
        EXPECT_EQ(IpmiIfcSelReadNew(0, static_cast<std::uint16_t>(last == 0 ? 0 : last - 1)), row.result);
        EXPECT_EQ(cached(), row.ids);
        EXPECT_EQ(node.complaints(), line(LOG_ERR, row.error));
    }
}

TEST(SelAdditions, PushOutTheOldest)
{
    KEEP_SEL_NUMBER = 3;
    SelBmc node(3);
    const auto claimFull = [](std::uint8_t entries) { // and no space left
        return Faults{fault(kGetSelInfo, 1, 0, {.changed = {{2, entries}, {4, 0}, {5, 0}}})};
    };
    node.restart(claimFull(3));
    EXPECT_EQ(node.check(), 0);
    for (const auto& [entries, ids] : {std::pair(3, "2 3 4"), {5, "2 3 4 5"}, {4, "3 4 5 6"}, {0, "5 6 7"}}) {
        node.add(40 + static_cast<std::uint32_t>(node.bmc.machine().sel.size()));
        node.restart(claimFull(static_cast<std::uint8_t>(entries)));
        EXPECT_EQ(node.check(), 0);
        EXPECT_EQ(cached(), ids);
    }
    KEEP_SEL_NUMBER = 200;
}

// --- events

TEST(SelEvents, AreChosenByTheirTimes)
{
    static const std::pair<std::uint32_t, const char*> rows[] = {
        {0, "1 2 3 5 6"},     {kStart + 9, "1 3 5 6"}, {kStart + 10, "3 5 6"},
        {kStart + 30, "5 6"}, {0xfffffffe, "6"},       {kNoSelTime, "1 2 3 5 6"},
    };
    SelBmc node;
    node.change([](Sim::Machine& machine) { // times that jump; OEM records; the last has no time
        machine.sel = {record(1, kStart + 10),       record(2, 5),           record(3, kStart + 20, 0x00),
                       record(4, kStart + 90, 0xc0), record(5, kStart + 31), record(6, kNoSelTime),
                       record(7, kNoSelTime, 0xe0)};
        machine.selAddTime = 1;
    });
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(node.takeHandled(), "1 2 3 5 6"); // after a first look it is its own addition time that counts
    for (const auto& [since, ids] : rows) {
        EXPECT_EQ(IpmiIfcSelGenerateEvents(0, since), 0);
        EXPECT_EQ(node.takeHandled(), ids);
    }
    _setState(0, IpmiIfc::IPMI_STATE_CLI);
    EXPECT_EQ(IpmiIfcSelGenerateEvents(0, 0), 0);
    EXPECT_EQ(node.handled, "");
    callSelHandlers(0, nullptr);
    EXPECT_EQ(node.handled, "null");
}

// Handlers that leave their letter where the argument says.
void handlerA(void* to, IpmiSelData*)
{
    *static_cast<std::string*>(to) += 'a';
}
void handlerB(void* to, IpmiSelData*)
{
    *static_cast<std::string*>(to) += 'b';
}
void handlerThatChanges(void* to, IpmiSelData*)
{
    *static_cast<std::string*>(to) += 'c';
    IpmiIfc::unRegisterSelEventHandler(0, handlerThatChanges);
    IpmiIfc::unRegisterSelEventHandler(0, handlerB);
    IpmiIfc::registerSelEventHandler(0, handlerB, to);
}

TEST(SelHandlers, AreCalledNewestFirstWhileRegistered)
{
    SelBmc node(1);
    std::string heard, other;
    IpmiIfcSelCleanUpEventHandlers(0);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, handlerA), 2);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, nullptr, nullptr), 5);
    EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(0, nullptr), 5);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(handlerA, &heard), 0);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handlerA, &other), 2);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handlerB, &heard), 0);
    EXPECT_EQ(IpmiIfc::registerSelEventHandler(0, handlerThatChanges, &heard), 0);
    EXPECT_EQ(IpmiIfcSelReadNew(0, 0), 0);
    for (const char* letters : {"ca", "ba"}) { // b left before its turn, and came back too late for it
        EXPECT_EQ(IpmiIfcSelGenerateEvents(0, 0), 0);
        EXPECT_EQ(std::exchange(heard, ""), letters);
    }
}

TEST(SelHandlers, MayThrowClearAndCheck)
{
    SelBmc node(1);
    EXPECT_EQ(node.check(), 0);
    IpmiIfc::registerSelEventHandler(
        0, [](void*, IpmiSelData*) { throw 5; }, nullptr);
    node.add(20);
    EXPECT_THROW(node.check(), int);
    IpmiIfcSelCleanUpEventHandlers(0);
    static std::string seen;
    const auto clear = [](void*, IpmiSelData*) {
        EXPECT_EQ(IpmiIfc::clearSel(0), 0);
        EXPECT_EQ(IpmiIfc::deleteSelEntry(0, 1), 5);
        EXPECT_EQ(IpmiIfcSelGetInfo(0, nullptr), 0);
        seen += cached() + '|';
    };
    IpmiIfc::registerSelEventHandler(0, clear, nullptr);
    node.add(30);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(seen, "1 2 3|"); // inside a check nothing changes
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(cached(), "");
}

// --- commands, byte by byte

using SelCommand = NodeFixture;
using Bytes = std::vector<std::uint8_t>;
const Bytes kNever{}; ///< as an answer: none

void script(Support::ScriptedBmc& bmc, const Bytes& request, const Bytes& answer)
{
    if (auto& step = bmc.expect(request, answer); answer == kNever)
        step.silent();
}

TEST_F(SelCommand, ErasesWithFiveAttempts)
{
    using Answers = std::vector<Bytes>;
    const Answers fiveBusy(5, Bytes{0xc0}), fiveLost(5, Bytes{0xc5}), oneOfEach{{0xc0}, {0xc5}, {0xc5}, {0, 1}};
    const struct {
        std::uint8_t cmd;
        Answers answers;
        int result;
        const char* error = nullptr;
    } rows[] = {
        {kClearSel, {{0, 1}}, 0},
        {kClearSel, {{0, 0}}, 0}, // goes on
        {kClearSel, {{0, 0xf1}}, 0},
        {kClearSel, {{0}}, 0},
        {kClearSel, {{0, 2}}, 2, "clearSel: unspecified error cc = 0x0, erasure status = 0x2"},
        {kClearSel, {{0xd4}}, 5, "clearSel: Failed with completion code = 0xd4"},
        {kDeleteSelEntry, {{0, 7, 0}}, 0},
        {kDeleteSelEntry, {{0xcb}}, 5, "deleteSelEntry: Failed with completion code = 0xcb"},
        {kClearSel, {kNever}, 4},
        {kClearSel, oneOfEach, 0},
        {kClearSel, fiveBusy, 2},
        {kClearSel, fiveLost, 2},
        {kDeleteSelEntry, {kNever}, 4},
        {kDeleteSelEntry, oneOfEach, 0},
        {kDeleteSelEntry, fiveBusy, 2},
    };
    for (const bool reserves : {false, true})
        for (const auto& row : rows) {
            SCOPED_TRACE(testing::Message() << int(row.cmd) << ' ' << row.answers.size() << ' ' << row.result);
            sim.log().clear();
            const std::size_t slept = sim.clock().sleeps().size();
            const Bytes reserved = reserves ? Bytes{0, 0x34, 0x12} : Bytes{0xd5};
            Bytes request{0x0a, row.cmd, std::uint8_t(reserves ? 0x34 : 0), std::uint8_t(reserves ? 0x12 : 0)};
            request.insert(request.end(), {'C', 'L', 'R', 0xaa});
            if (row.cmd == kDeleteSelEntry)
                request.resize(4), request.insert(request.end(), {0x07, 0x01});
            script(bmc, {0x0a, 0x42}, reserved);
            std::vector<unsigned> sleeps;
            for (const Bytes& answer : row.answers) {
                script(bmc, request, answer);
                if (answer == Bytes{0xc0})
                    sleeps.push_back(5);
                if (answer == Bytes{0xc5})
                    script(bmc, {0x0a, 0x42}, reserves ? Bytes{0, 0x35, 0x12} : reserved);
                if (answer == Bytes{0xc5} && reserves && row.cmd == kDeleteSelEntry)
                    request[2] = 0x35; // clearSel keeps to its first one: this is meant
            }
            if (row.answers.back().size() > 0 && row.answers.back()[0] == 0)
                script(bmc, {0x0a, 0x40}, {0xc0});
            EXPECT_EQ(row.cmd == kClearSel ? IpmiIfc::clearSel() : IpmiIfc::deleteSelEntry(0x0107), row.result);
            bmc.done();
            const auto all = sim.clock().sleeps();
            EXPECT_EQ(std::vector(all.begin() + std::ptrdiff_t(slept), all.end()), sleeps);
            EXPECT_EQ(sim.log().count(LOG_ERR, row.error ? row.error : ""), row.error ? 1 : 0);
        }
}

TEST(SelErasure, IsSeenAtOnce)
{
    SelBmc node(4);
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(IpmiIfc::deleteSelEntry(0, 2), 0);
    EXPECT_EQ(cached(), "1 3 4");
    EXPECT_EQ(IpmiIfc::deleteSelEntry(0, 2), 5);
    node.erase(0, 0); // two erasures in one second are one
    EXPECT_EQ(node.check(), 0);
    EXPECT_EQ(IpmiIfc::getSel(0)->clear(), 0);
    EXPECT_EQ(cached(), "");
}

TEST_F(SelCommand, AsksAndSetsSingleValues)
{
    const Bytes kTime{0x0a, 0x48}, kLast{0x04, 0x15}, kSetLast{0x04, 0x14, 0x00, 0x34, 0x12};
    const auto clock = [] { return IpmiIfc::selGetClock(); };
    const auto last = [] { return unsigned{IpmiIfc::getLastProcessedSELEntry()}; };
    const auto setLast = [] { return IpmiIfc::setLastProcessedSELEntry(0x1234), 0u; };
    const struct {
        std::function<unsigned()> call;
        std::vector<std::pair<Bytes, Bytes>> exchanges;
        unsigned result;
        int priority = LOG_DEBUG;
        const char* text = nullptr;
    } rows[] = {
        {clock, {{kTime, {0, 0x04, 0x03, 0x02, 0x81}}}, 0x81020304},
        {clock, {{kTime, {0, 4, 3, 2}}}, 0},
        {clock, {{kTime, {0xd5}}}, 0, LOG_ERR, "selGetClock: IPMI_CMD_GET_SEL_TIME for node 0 failed d5"},
        {clock, {{kTime, kNever}}, 0, LOG_ERR, "selGetClock: IPMI_CMD_GET_SEL_TIME for node 0 failed 0"},
        {last, {{kLast, {0, 1, 2, 3, 4, 5, 6, 0x34, 0x12, 9, 9}}}, 0x1234},
        {last, {{kLast, {0, 1, 2, 3, 4, 5, 6, 0xff, 0xff}}}, 0},
        {last,
         {{kLast, {0, 1, 2, 3, 4, 5, 6, 7}}},
         0,
         LOG_DEBUG,
         "get last processed SEL entry response too short (8)"},
        {last, {{kLast, {0xcb}}}, 0, LOG_DEBUG, "Failed get last processed SEL entry request 0xcb"},
        {last, {{kLast, kNever}}, 0, LOG_DEBUG, "Failed to send get last processed SEL entry"},
        {setLast, {{kSetLast, {0}}}, 0},
        {setLast, {{kSetLast, {0x81}}}, 0, LOG_DEBUG, "Failed set SEL last processed 0x81"},
        {setLast, {{kSetLast, kNever}}, 0, LOG_DEBUG, "Failed to send set SEL last processed"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        sim.log().clear();
        for (const auto& [request, answer] : row.exchanges)
            script(bmc, request, answer);
        EXPECT_EQ(row.call(), row.result);
        bmc.done();
        EXPECT_TRUE(!row.text || sim.log().has(row.priority, row.text)) << row.text;
    }
}

TEST(SelEnables, ChangeOneBit)
{
    using Call = void (*)(const IpmiSel&);
    const Call isOn = [](const IpmiSel& sel) { EXPECT_TRUE(sel.isEnabled()); };
    const Call isOff = [](const IpmiSel& sel) { EXPECT_FALSE(sel.isEnabled()); };
    const Call enable = [](const IpmiSel&sel) { sel.enable(); }, disable = [](const IpmiSel&sel) { sel.disable(); };
    const auto set = [](Sim::FaultAction action) { return Sim::FaultRule{.netfn = 6, .cmd = 0x2e, .action = action}; };
    const auto get = [](Sim::FaultAction action) { return Sim::FaultRule{.netfn = 6, .cmd = 0x2f, .action = action}; };
    const auto is = [&](std::uint8_t enables) { return get({.changed = {{1, enables}}}); };
    const struct {
        Call call;
        Faults faults;
        int written = -1;
        bool throws = false;
    } rows[] = {
        {isOn, {is(0x08)}},
        {isOff, {is(0xf7)}},
        {enable, {is(0x04)}, 0x0c},
        {disable, {is(0xff)}, 0xf7},
        {isOn, {get(cut(1))}, -1, true},
        {isOn, {get(code(0xc1))}, -1, true},
        {enable, {get(kSilence)}, -1, true},
        {disable, {is(0), set(code(0xd5))}, 0, true},
        {enable, {is(0), set(kSilence)}, 8, true},
    };
    for (const auto& row : rows) {
        SelBmc node;
        node.restart(row.faults);
        int rc = 0;
        try {
            row.call(IpmiSel({}, {}, 0));
        } catch (const CmpiStatus& status) {
            rc = status.rc();
        }
        EXPECT_EQ(rc, row.throws ? 1 : 0);
        const Sim::Request last = node.bmc.log().back();
        EXPECT_EQ(last.data, row.written < 0 ? Sim::Bytes{} : Sim::Bytes{static_cast<std::uint8_t>(row.written)});
    }
}

// --- allocation, summary, no node

TEST(SelSummary, IsMadeOfInfoAndAllocation)
{
    SelBmc node(2);
    ipmiifc_resp resp;
    resp.datalen = 10, resp.data[3] = 0x20; // allocation unit
    resp.cc = 0xc1;
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), -1);
    EXPECT_TRUE(node.sim.log().has(LOG_INFO, "Unable to get alloc info - cc=0xc1"));
    resp.cc = 0;
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(&resp), 0);
    for (const auto& [time, unix] : {std::pair{0x20000000u, 0u}, {0x20000001u, 0x20000001u}, {kNoSelTime, 0u}}) {
        node.change([time](Sim::Machine& machine) { machine.selAddTime = machine.selEraseTime = time; });
        node.restart({fault(kGetSelInfo, 1, 0, {.changed = {{4, 0x2f}, {5, 0}, {14, 0x8b}}})});
        EXPECT_EQ(node.check(), 0);
        const IpmiSel& sel = *IpmiIfc::getSel();
        EXPECT_EQ((std::vector{sel.version(), sel.getCurrentNumberOfRecords(), sel.getFlags(),
                               sel.getAllocationUnitSize(), sel.getAddTimeStampUnix(), sel.getEraseTimeStampUnix()}),
                  (std::vector{0x51u, 2u, 0x8bu, 0x20u, unix, unix}));
        EXPECT_EQ(sel.getMaxNumberOfRecords(), 4);
        EXPECT_TRUE(sel.getOverFlowFlag());
    }
    EXPECT_EQ(IpmiSel({}, {}, 0).getAllocationUnitSize(), 16u);
    EXPECT_EQ(IpmiSel().getAddTimeStampUnix(), 0u);
}

TEST(SelNoNode, IsRefusedEverywhere)
{
    for (const int bad : {-1, 4, 100}) {
        unsigned short count = 7;
        ipmiifc_sel_entry entry;
        ipmiifc_resp resp;
        resp.datalen = 15, resp.node = bad;
        for (const int result : {IpmiIfcRhSelInfo(&resp, &count), IpmiIfcRhSelGetAllocInfo(&resp),
                                 IpmiIfcSelReserve(bad), IpmiIfcSelReadEntry(bad, &entry), IpmiIfcSelReadAll(bad),
                                 IpmiIfcSelReadNew(bad, 1), IpmiIfcSelGetAll(bad)})
            EXPECT_EQ(result, -1);
        for (const int result :
             {IpmiIfcSelGetInfo(bad, &count), IpmiIfc::clearSel(bad), IpmiIfc::deleteSelEntry(bad, 1)})
            EXPECT_EQ(result, -2);
        EXPECT_EQ(count, 7);
        EXPECT_EQ(IpmiIfc::registerSelEventHandler(bad, handlerA, nullptr), 5);
        EXPECT_EQ(IpmiIfc::unRegisterSelEventHandler(bad, handlerA), 5);
        EXPECT_EQ(IpmiIfcSelGenerateEvents(bad, 0), 0);
        EXPECT_EQ(IpmiIfc::getSel(bad).get(), nullptr);
        EXPECT_EQ(IpmiIfc::getRawSelHeader(bad).version() + IpmiIfc::getSelData(bad).size(), 0u);
        EXPECT_EQ(IpmiIfc::getLastProcessedSELEntry(bad) + IpmiIfc::selGetClock(bad), 0u);
        EXPECT_THROW(IpmiSel({}, {}, bad).enable(), CmpiStatus);
        IpmiIfc::setLastProcessedSELEntry(bad, 1);
        IpmiIfcSelCleanUpEventHandlers(bad);
    }
    EXPECT_EQ(IpmiIfcRhSelInfoNoCount(nullptr), -1);
    EXPECT_EQ(IpmiIfcRhSelGetAllocInfo(nullptr), -1);
    EXPECT_EQ(IpmiIfcSelReadEntry(0, nullptr), -1);
}

} // namespace
