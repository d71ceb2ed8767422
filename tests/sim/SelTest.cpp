// The event log: who may do what to it, what becomes of it, and the events that sensors send.
#include "SimSupport.h"

#include "sim/SystemInterface.h"

#include <gtest/gtest.h>

using namespace std::chrono_literals;

namespace Sim
{

namespace
{

constexpr const char* kMachine = R"({"controllers": [{"address": "0x82", "channel": 7}], "sel_capacity": 5,
    "sel": ["01 00 02 01 00 00 5a 20 00 04 01 01 01 57 5f 55", "05 00 02 02 00 00 5a 20 00 04 01 01 81 57 50 55"],
    "sdr": [
    {"name": "Temp", "number": 1, "entity": 3, "type": "temperature", "hysteresis": [2, 3], "value": 50,
     "thresholds": {"lnc": 10, "unc": 85, "uc": 95}},
    {"name": "Once", "number": 2, "entity": 3, "type": "temperature", "thresholds": {"uc": 90}, "deassertions": 0,
     "capabilities": "0x28", "value": 50},
    {"name": "Falls", "number": 3, "entity": 7, "type": "voltage", "m": -1, "b": 200, "thresholds": {"unc": 100},
     "value": 50},
    {"name": "Moves", "number": 4, "entity": 3, "type": "fan", "thresholds": {"lc": 10},
     "value": {"ramp": [10, 30], "period": 2}},
    {"kind": "compact", "name": "PSU", "number": 5, "entity": 10, "type": "power supply", "event_type": "0x6f",
     "assertions": "0x000b", "deassertions": "0x0002", "states": 1},
    {"kind": "compact", "name": "Node", "number": 5, "owner": "0x82", "lun": 1, "entity": 10, "type": "power supply",
     "event_type": "0x6f", "assertions": "0x0003", "states": 0}]})";

class SimSel : public ::testing::Test
{
protected:
    void SetUp() override
    {
        bmc.setSelTime(0x10000000);
        bmc.keepSelJournal(true);
    }
    Bytes reserve() { return ask(bmc, "0a 42"); }
    /// A command that begins with the reservation: command, then data, in hexadecimal.
    Bytes under(const Bytes& reservation, const std::string& request)
    {
        const Bytes rest = hex(request);
        Bytes data{reservation.at(1), reservation.at(2)};
        data.insert(data.end(), rest.begin() + 1, rest.end());
        return ask(bmc, 0x0a, rest.at(0), data);
    }
    std::uint16_t count() { return word(ask(bmc, "0a 40"), 2); }
    /// What was logged since it was asked last: generator id, sensor, direction and type, event data; "; " between
    /// them.
    std::string logged()
    {
        std::string text;
        for (const SelJournalEntry& entry : bmc.selJournal()) {
            EXPECT_EQ(entry.kind, SelJournalEntry::Kind::added);
            for (const std::size_t at : {7U, 8U, 11U, 12U, 13U, 14U, 15U}) {
                constexpr const char* kDigits = "0123456789abcdef";
                text += {kDigits[entry.record.at(at) >> 4], kDigits[entry.record.at(at) & 15], at == 15 ? ';' : ' '};
            }
        }
        bmc.clearSel();
        bmc.keepSelJournal(true);
        return text;
    }

    std::chrono::milliseconds time{1000};
    Bmc bmc{parseMachine(kMachine, "file"), [this] { return time; }};
};

} // namespace

TEST_F(SimSel, ReservationsAreAskedForAndCancelled)
{
    const struct {
        const char* name;
        std::function<void()> happens;
        std::uint8_t part; ///< of a read under the reservation that there was before
    } rows[] = {
        {"nothing", [] {}, 0x00},
        {"read", [&] { ask(bmc, "0a 43 0 0 5 0 0 ff"); }, 0x00},
        {"added", [&] { ask(bmc, "0a 44 0 0 2 0 0 0 0 20 0 4 1 1 1 57 5f 55"); }, 0xc5},
        {"deleted", [&] { EXPECT_TRUE(bmc.deleteSelRecord(1)); }, 0xc5},
        {"deleted under it", [&] { EXPECT_EQ(under(reserve(), "46 0 0"), hex("00 05 00")); }, 0xc5},
        {"reserved again", [&] { reserve(); }, 0xc5},
        {"reset", [&] { bmc.reset(0x20, 0ms); }, 0xc5},
        {"lost", [&] { bmc.loseReservations(); }, 0xc5},
    };
    for (const char* request : {"43 0 0 1 1", "46 0 0", "47 43 4c 52 aa", "45 0 0 0 0 1"})
        EXPECT_EQ(under({0, 0, 0}, request), Bytes{0xc5}) << request;
    for (const auto& row : rows) {
        const Bytes reserved = reserve();
        row.happens();
        EXPECT_EQ(under(reserved, "43 ff ff 1 2").at(0), row.part) << row.name;
    }
    EXPECT_EQ(under(reserve(), "46 99 0"), Bytes{0xcb});
}

TEST_F(SimSel, ReadsInParts)
{
    const std::pair<const char*, const char*> rows[] = {
        {"43 0 0 0 4", "00 05 00 01 00 02 01"},
        {"43 0 0 e ff", "00 05 00 5f 55"},
        {"43 ff ff f 9", "00 ff ff 55"},
        {"43 1 0 10 1", "c9"},
        {"43 2 0 0 ff", "cb"},
    };
    const Bytes reserved = reserve();
    for (const auto& [request, answer] : rows)
        EXPECT_EQ(under(reserved, request), hex(answer)) << request;
}

TEST_F(SimSel, AddsInParts)
{
    const std::pair<const char*, const char*> rows[] = {
        {"45 0 0 0 0 ee ee 2", "00 06 00"},
        {"45 6 0 4 0 1", "c9"},
        {"45 6 0 2 0 1 1 1", "c9"},
        {"45 7 0 3 0 1", "cb"},
        {"45 6 0 a 1 7", "c9"},
        {"45 6 0 3 1 1", "80"},
        {"45 6 0 3 0 1 1 1 1 20 0 4", "00 06 00"},
        {"45 6 0 a 1 7", "80"},
        {"45 6 0 a 0 1 2 3 4 5 6 7", "c9"},
        {"45 6 0 a 1 7 8 9 a b c", "00 06 00"},
        {"45 6 0 a 1 7", "c5"},
    };
    const Bytes reserved = reserve();
    for (const auto& [request, answer] : rows) {
        EXPECT_EQ(under(reserved, request), hex(answer)) << request;
        EXPECT_EQ(count(), &request < &rows[9].first ? 2U : 3U) << request;
    }
    EXPECT_EQ(ask(bmc, "0a 43 0 0 6 0 0 ff"), hex("00 ff ff 06 00 02 00 00 00 10 20 00 04 07 08 09 0a 0b 0c"));
}

TEST_F(SimSel, FillsUpAndStartsAnew)
{
    using Kind = SelJournalEntry::Kind;
    SelRecord event{0, 0, 0xc0};
    for (const unsigned id : {6U, 7U, 8U, 0U}) {
        EXPECT_EQ(bmc.addEvent(event), id);
        EXPECT_EQ(ask(bmc, "0a 40").back(), id == 0 ? 0x8f : 0x0f) << "overflow";
        time += 1s;
    }
    EXPECT_EQ(ask(bmc, "0a 44 0 0 2 0 0 0 0 20 0 4 1 1 1 57 5f 55"), Bytes{0xc4});
    EXPECT_EQ(ask(bmc, "0a 41"), hex("00 05 00 10 00 00 00 00 00 01"));
    EXPECT_EQ(ask(bmc, "0a 40"), hex("00 51 05 00 00 00 02 00 00 10 ff ff ff ff 8f"));
    EXPECT_EQ(under(reserve(), "46 ff ff"), hex("00 08 00"));
    EXPECT_EQ(bmc.addEvent(event), 9U) << "an id does not come again";
    EXPECT_EQ(under(reserve(), "47 43 4c 52 aa"), hex("00 01"));
    EXPECT_EQ(ask(bmc, "0a 40"), hex("00 51 00 00 50 00 04 00 00 10 04 00 00 10 0f"));
    EXPECT_EQ(bmc.addEvent(event), 1U);
    std::vector<Kind> kinds;
    for (const SelJournalEntry& entry : bmc.selJournal())
        kinds.push_back(entry.kind);
    EXPECT_EQ(kinds, (std::vector{Kind::added, Kind::added, Kind::added, Kind::refused, Kind::refused, Kind::deleted,
                                  Kind::added, Kind::cleared, Kind::added}));
    EXPECT_EQ(idOf(bmc.selJournal().at(5).record), 8U);
}

TEST_F(SimSel, ClearTakesItsTime)
{
    const std::pair<std::uint64_t, std::chrono::milliseconds> rows[] = {{0, 0ms}, {2, 0ms}, {0, 150ms}, {1, 150ms}};
    for (const auto& [asks, lasts] : rows) {
        bmc.change([&, asks = asks, lasts = lasts](Machine& machine) {
            machine.selClearAsks = asks;
            machine.selClearTime = lasts;
        });
        const Bytes reserved = reserve();
        const auto started = time;
        std::uint64_t asked = 1;
        for (Bytes got = under(reserved, "47 43 4c 52 aa"); got != hex("00 01"); ++asked) {
            EXPECT_EQ(got, hex("00 00"));
            EXPECT_EQ(ask(bmc, "0a 43 0 0 0 0 0 ff"), Bytes{0xcb}) << "gone already";
            time += 50ms;
            got = under(reserved, "47 43 4c 52 00");
        }
        EXPECT_TRUE(lasts == 0ms ? asked == asks + 1 : time - started == lasts) << asks << ' ' << lasts.count();
        EXPECT_EQ(under(reserved, "47 43 4c 52 aa"), Bytes{0xc5});
        bmc.addEvent({});
    }
    bmc.change([](Machine& machine) { machine.selClearTime = 1s; });
    bmc.clearSel();
    for (const char* refused : {"04 15", "04 14 0 1 0"})
        EXPECT_EQ(ask(bmc, refused), Bytes{0x81}) << refused;
}

TEST_F(SimSel, IdsGoRoundAndTenThousandRecordsAreReadQuickly)
{
    std::vector<SelRecord> many(10'000);
    for (std::size_t i = 0; i < many.size(); ++i)
        setId(many[i], static_cast<std::uint16_t>(0xfffe - many.size() + i));
    setId(many.front(), 1);
    bmc.change([&](Machine& machine) {
        machine.sel = many;
        machine.selCapacity = kMostSelRecords;
    });
    EXPECT_EQ(bmc.addEvent({}), 0xfffe);
    EXPECT_EQ(bmc.addEvent({}), 2U) << "1 is in use";
    const auto started = std::chrono::steady_clock::now();
    std::size_t seen = 0;
    for (std::uint16_t id = 0; id != 0xffff && seen < 0x10000; ++seen)
        id = word(
            ask(bmc, 0x0a, 0x43, {0, 0, static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8), 0, 255}), 1);
    EXPECT_EQ(seen, many.size() + 2);
    EXPECT_LT(std::chrono::steady_clock::now() - started, 1s);
}

TEST_F(SimSel, SensorsSendEventsAsTheyChange)
{
    const auto raw = [this](std::uint8_t number, std::initializer_list<std::uint8_t> values) {
        for (const std::uint8_t value : values)
            bmc.setRawReading({0x20, 0, number}, value);
    };
    const auto states = [this](SensorKey key, std::initializer_list<std::uint16_t> values) {
        for (const std::uint16_t value : values)
            bmc.setStates(key, value);
    };
    const struct {
        const char* name;
        std::function<void()> happens;
        const char* logged;
    } rows[] = {
        {"between the thresholds",
         [&] {
             raw(1, {60, 84, 11, 50});
         },
         ""},
        {"up",
         [&] {
             raw(1, {85, 86});
         },
         "20 00 01 01 57 55 55;"},
        {"within the hysteresis",
         [&] {
             raw(1, {84, 83, 85});
         },
         ""},
        {"two at once",
         [&] {
             raw(1, {82, 120});
         },
         "20 00 01 81 57 52 55;20 00 01 01 57 78 55;20 00 01 01 59 78 5f;"},
        {"far down", [&] { raw(1, {10}); }, "20 00 01 81 59 0a 5f;20 00 01 81 57 0a 55;20 00 01 01 50 0a 0a;"},
        {"back up",
         [&] {
             raw(1, {13, 14});
         },
         "20 00 01 81 50 0e 0a;"},
        {"threshold moved", [&] { ask(bmc, "04 26 01 08 0 0 0 0e 0 0"); }, "20 00 01 01 57 0e 0e;"},
        {"and back", [&] { ask(bmc, "04 26 01 08 0 0 0 55 0 0"); }, "20 00 01 81 57 0e 55;"},
        {"events off",
         [&] {
             ask(bmc, "04 28 01 40"), raw(1, {99, 14}), ask(bmc, "04 28 01 c0");
         },
         ""},
        {"not scanned",
         [&] {
             ask(bmc, "04 28 01 80"), raw(1, {99, 14}), ask(bmc, "04 28 01 c0");
         },
         ""},
        {"one off",
         [&] {
             ask(bmc, "04 28 01 e0 80 0 0 0"), raw(1, {90, 14});
         },
         "20 00 01 81 57 0e 55;"},
        {"not available",
         [&] {
             bmc.setUnavailable({0x20, 0, 1}, true);
         },
         ""},
        {"asserted once",
         [&] {
             raw(2, {90, 20, 91});
         },
         "20 00 02 01 59 5a 5a;"},
        {"armed again", [&] { ask(bmc, "04 2a 02 80 0 2"), ask(bmc, "04 2a 02 0"); },
         "20 00 02 01 59 5b 5a;20 00 02 01 59 5b 5a;"},
        {"falling raw",
         [&] {
             raw(3, {101, 100});
         },
         "20 00 03 01 57 64 64;"},
        {"moves when read", [&] { ask(bmc, "04 2d 04"), ask(bmc, "04 2d 04"), ask(bmc, "04 2d 04"); },
         "20 00 04 81 52 14 0a;20 00 04 01 52 0a 0a;"},
        {"states",
         [&] {
             states({0x20, 0, 5}, {3, 9, 1});
         },
         "20 00 05 6f 01 ff ff;20 00 05 ef 01 ff ff;20 00 05 6f 03 ff ff;"},
        {"a satellite's",
         [&] {
             states({0x82, 1, 5}, {1});
         },
         "82 71 05 6f 00 ff ff;"},
        {"no logging", [&] { bmc.setEventLogging(false), raw(3, {0}), bmc.setEventLogging(true); }, ""},
    };
    for (const auto& row : rows) {
        row.happens();
        EXPECT_EQ(logged(), row.logged) << row.name;
    }
    for (const auto& [request, answer] :
         {std::pair("04 2b 02", "00 c0 00 02 00 00"), {"04 2b 05", "00 c0 01 00 02 00"}})
        EXPECT_EQ(ask(bmc, request), hex(answer)) << request;
}

TEST_F(SimSel, EventMessagesAndWhatWasProcessed)
{
    SystemInterface driver(bmc, [this] { return time; });
    const auto give = [&](const std::string& request) {
        const Bytes bytes = hex(request);
        return driver.handle({.netfn = bytes.at(0), .cmd = bytes.at(1), .data = {bytes.begin() + 2, bytes.end()}})
            .bytes;
    };
    give("06 2e 04"); // no logging, but a buffer
    EXPECT_EQ(give("06 2f"), hex("00 04"));
    for (const char* shorter : {"04 02 41 03 01 30 01", "04 02 41 03 01 30 01 59 1 2 3"})
        EXPECT_EQ(give(shorter), Bytes{0xc7});
    EXPECT_EQ(give("04 02 41 03 01 30 01 59"), Bytes{0}); // it comes over the system interface
    EXPECT_TRUE(driver.attention());
    EXPECT_EQ(bmc.addEvent({}), 0U);
    Request ipmb{
        .channel = 7, .netfn = 4, .cmd = 2, .data = hex("04 01 31 01 59 5a 5b"), .requester = 0x82, .requesterLun = 1};
    EXPECT_EQ(bmc.handle(ipmb).bytes, Bytes{0});
    EXPECT_EQ(give("06 35"), hex("00 06 00 02 00 00 00 10 41 00 04 01 30 01 59 ff ff")) << "the first alone";
    EXPECT_FALSE(driver.attention());
    give("06 2e 0c");
    EXPECT_EQ(bmc.handle(ipmb).bytes, Bytes{0});
    EXPECT_EQ(give("06 35"), hex("00 07 00 02 00 00 00 10 82 71 04 01 31 01 59 5a 5b"));
    EXPECT_EQ(logged(), "41 00 30 01 59 ff ff;82 71 31 01 59 5a 5b;");

    EXPECT_EQ(give("04 14 02 1 0"), Bytes{0xcc});
    for (const char* processed : {"04 14 00 34 12", "04 14 01 78 56"})
        EXPECT_EQ(give(processed), Bytes{0});
    EXPECT_EQ(give("04 15"), hex("00 00 00 00 10 ff ff 34 12 78 56"));
    for (const auto& [request, answer] : {std::pair("0a 5c", "00 ff 07"),
                                          {"0a 5d a1 05", "cc"},
                                          {"0a 5d 60 fa", "00"},
                                          {"0a 5c", "00 60 fa"},
                                          {"0a 49 1 2 3 4", "00"},
                                          {"0a 48", "00 01 02 03 04"}})
        EXPECT_EQ(give(request), hex(answer)) << request;
}

TEST_F(SimSel, FaultsChangeItBeforeTheCommand)
{
    const std::pair<const char*, const char*> rows[] = {{"record_added", "00 05 00"},
                                                        {"record_deleted", "cb"},
                                                        {"asked_deleted", "cb"},
                                                        {"cleared", "cb"},
                                                        {"time_back", "00 05 00"}};
    const Machine before = bmc.machine();
    for (const auto& [change, answer] : rows) {
        bmc.change([&](Machine& machine) { machine = before; });
        bmc.setFaults(
            parseFaultPlan(R"({"faults": [{"cmd": 67, "nth": 1, "sel": ")" + std::string(change) + "\"}]}", "plan"));
        EXPECT_EQ(ask(bmc, "0a 43 0 0 1 0 0 0"), hex(answer)) << change;
    }
    EXPECT_EQ(bmc.selTime(), 0x10000000U - 3600);
    EXPECT_EQ(bmc.selJournal().size(), 4U);
}

} // namespace Sim
