// The simulated BMC's answers: right ones, and right refusals.
#include "sim/Bmc.h"

#include "SimSupport.h"
#include "sim/MachineFile.h"

#include <gtest/gtest.h>

#include <set>
#include <thread>

namespace Sim
{

namespace
{

const Machine& sample()
{
    static const Machine machine = loadMachine("sample");
    return machine;
}

struct Row {
    const char* name;
    std::uint8_t netfn, cmd;
    Bytes data;
    Bytes answer; ///< the answer starts with these bytes
    std::uint8_t lun = 0;
    std::uint8_t address = kBmcAddress;
};

const Row kRows[] = {
    {"device id", 0x06, 0x01, {}, {0, 0x20, 0x01, 0x02, 0x17, 0x02, 0x9f, 0xd9, 0x7e, 0x00, 0x34, 0x12, 1, 2, 3, 4}},
    {"device id with data", 0x06, 0x01, {0}, {0xc7}},
    {"device id at another LUN", 0x06, 0x01, {}, {0, 0x20}, 1},
    {"device id of a satellite", 0x06, 0x01, {}, {0, 0x21, 0x01, 0x01, 0x03}, 0, 0x82},
    {"repository of a satellite", 0x0a, 0x20, {}, {0xc1}, 0, 0x82},
    {"repository at another LUN", 0x0a, 0x20, {}, {0xc2}, 1},
    {"unknown command", 0x06, 0xfe, {}, {0xc1}},
    {"unknown network function", 0x2e, 0x01, {}, {0xc1}},
    {"self test", 0x06, 0x04, {}, {0, 0x55, 0x00}},
    {"empty message queue", 0x06, 0x33, {}, {0x80}},
    {"message flags", 0x06, 0x31, {}, {0, 0}},
    {"present channel", 0x06, 0x42, {0x0e}, {0, 0x0f, 0x0c, 0x05}},
    {"IPMB channel", 0x06, 0x42, {0x00}, {0, 0x00, 0x01, 0x01}},
    {"absent channel", 0x06, 0x42, {0x03}, {0xcc}},
    {"OS name, first block", 0x06, 0x59, {0, 4, 0, 0}, {0, 0x11, 0, 0, 30, 'D', 'e', 'b', 'i', 'a', 'n', ' '}},
    {"OS name, second block", 0x06, 0x59, {0, 4, 1, 0}, {0, 0x11, 1, 'u', 'x', ' ', '1', '2'}},
    {"OS name, past its end", 0x06, 0x59, {0, 4, 2, 0}, {0xc9}},
    {"system info revision", 0x06, 0x59, {0x80, 5, 0, 0}, {0, 0x11}},
    {"unknown system info", 0x06, 0x59, {0, 9, 0, 0}, {0x80}},
    {"system info cut", 0x06, 0x59, {0, 4, 0}, {0xc7}},
    {"read-only system info", 0x06, 0x58, {1, 0, 0, 0}, {0x82}},
    {"record without reservation", 0x0a, 0x23, {0, 0, 0, 0, 0, 5}, {0, 2, 0, 1, 0, 0x51, 1}},
    {"part without reservation", 0x0a, 0x23, {0, 0, 0, 0, 1, 5}, {0xc5}},
    {"wrong reservation", 0x0a, 0x23, {9, 9, 0, 0, 0, 5}, {0xc5}},
    {"absent record", 0x0a, 0x23, {0, 0, 0x34, 0x12, 0, 5}, {0xcb}},
    {"Get SDR cut", 0x0a, 0x23, {0, 0, 0, 0, 0}, {0xc7}},
    {"last record", 0x0a, 0x23, {0, 0, 0xff, 0xff, 0, 5}, {0, 0xff, 0xff}},
    {"absent log record", 0x0a, 0x43, {0, 0, 0x34, 0x12, 0, 0xff}, {0xcb}},
    {"log record past its end", 0x0a, 0x43, {0, 0, 0, 0, 0, 0}, {0, 2, 0}},
    {"clear without reservation", 0x0a, 0x47, {0, 0, 'C', 'L', 'R', 0xaa}, {0xc5}},
    {"sensor type", 0x04, 0x2f, {0}, {0, 0x01, 0x01}},
    {"absent sensor", 0x04, 0x2d, {0xfe}, {0xcb}},
    {"event-only sensor", 0x04, 0x2d, {96}, {0xcb}},
    {"no sensor named", 0x04, 0x2d, {}, {0xc7}},
    {"discrete states", 0x04, 0x2d, {10}, {0, 0, 0xc0, 0x80, 0x80}},
    {"shared sensor, third of three", 0x04, 0x2d, {16}, {0, 0, 0xc0, 0x00, 0x80}},
    {"shared sensor, beyond", 0x04, 0x2d, {76}, {0xcb}},
    {"no reading", 0x04, 0x2d, {57}, {0, 0, 0xe0, 0xc0, 0}},
    {"crossed lower thresholds", 0x04, 0x2d, {3}, {0, 8, 0xc0, 0xc3, 0}},
    {"in range with negative M", 0x04, 0x2d, {6}, {0, 33, 0xc0, 0xc0, 0}},
    {"thresholds", 0x04, 0x27, {0}, {0, 0x3f, 5, 2, 0, 85, 95, 105}},
    {"thresholds, one readable", 0x04, 0x27, {52}, {0, 0x10, 0, 0, 0, 0, 85, 0}},
    {"thresholds, fixed and unreadable", 0x04, 0x27, {53}, {0, 0, 0, 0, 0, 0, 0, 0}},
    {"thresholds of a discrete sensor", 0x04, 0x27, {10}, {0xcd}},
    {"set readable thresholds", 0x04, 0x26, {5, 0x12, 0, 1, 0, 0, 1, 0}, {0xcd}},
    {"set a threshold it lacks", 0x04, 0x26, {2, 0x10, 0, 0, 0, 0, 1, 0}, {0xcc}},
    {"hysteresis", 0x04, 0x25, {0, 0xff}, {0, 2, 2}},
    {"hysteresis it lacks", 0x04, 0x25, {9, 0xff}, {0xcd}},
    {"reading factors", 0x04, 0x23, {42, 0}, {0, 0xff, 3, 0, 10, 0, 0, 0}},
    {"reading factors of a discrete sensor", 0x04, 0x23, {10, 0}, {0xcd}},
    {"event enable, reserved operation", 0x04, 0x28, {0, 0xf0}, {0xcc}},
    {"satellite's sensor", 0x04, 0x2d, {1}, {0, 36}, 0, 0x82},
    {"satellite's sensor, LUN 1", 0x04, 0x2d, {2}, {0, 47}, 1, 0x82},
    {"satellite's sensor, wrong LUN", 0x04, 0x2d, {2}, {0xcb}, 0, 0x82},
    {"FRU area", 0x0a, 0x10, {0}, {0, 0x00, 0x02, 0x00}},
    {"absent FRU device", 0x0a, 0x10, {7}, {0xcb}},
    {"FRU header", 0x0a, 0x11, {0, 0, 0, 8}, {0, 8, 1, 0, 1}},
    {"FRU past its end", 0x0a, 0x11, {0, 0, 2, 1}, {0xc9}},
    {"FRU, its last bytes", 0x0a, 0x11, {0, 0xfe, 1, 16}, {0, 2}},
};

Bytes firstOf(const Bytes& bytes, std::size_t count)
{
    return {bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(count, bytes.size()))};
}

/// Reserves, then reads a record in pieces.
Bytes readSdr(Bmc& bmc, std::uint16_t id, std::uint8_t piece)
{
    const Bytes reservation = ask(bmc, 0x0a, 0x22);
    Bytes record;
    for (;;) {
        const Bytes answer = ask(bmc, 0x0a, 0x23,
                                 {reservation.at(1), reservation.at(2), static_cast<std::uint8_t>(id & 0xff),
                                  static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(record.size()), piece});
        if (answer.at(0) != 0)
            return record;
        record.insert(record.end(), answer.begin() + 3, answer.end());
    }
}

} // namespace

TEST(SimBmc, AnswersAndRefusals)
{
    for (const Row& row : kRows) {
        Bmc bmc(sample());
        const Answer answer = exchange(bmc, row.netfn, row.cmd, row.data, row.lun, row.address);
        EXPECT_TRUE(answer.answered) << row.name;
        EXPECT_EQ(firstOf(answer.bytes, row.answer.size()), row.answer) << row.name;
        if (row.answer.at(0) != 0) {
            EXPECT_EQ(answer.bytes.size(), 1U) << row.name;
        }
    }
}

// No request, however short, long or odd, does more than get a completion code.
TEST(SimBmc, EveryCommandSurvivesEveryLength)
{
    Bmc bmc(sample());
    for (unsigned netfn = 0; netfn < 0x10; netfn += 2) {
        for (unsigned cmd = 0; cmd < 0x100; ++cmd) {
            for (const std::uint8_t fill : Bytes{0x00, 0x05, 0xff}) {
                for (std::size_t length = 0; length < 24; ++length) {
                    const Bytes answer =
                        ask(bmc, static_cast<std::uint8_t>(netfn), static_cast<std::uint8_t>(cmd), Bytes(length, fill));
                    ASSERT_FALSE(answer.empty());
                }
            }
        }
    }
}

TEST(SimBmc, AbsentControllersStaySilent)
{
    Bmc bmc(sample());
    for (const std::uint8_t address : Bytes{0x22, 0x84, 0x41})
        EXPECT_FALSE(exchange(bmc, 0x06, 0x01, {}, 0, address).answered) << int{address};
}

TEST(SimBmc, PiecesMakeTheWholeRecord)
{
    Bmc bmc(sample());
    const Machine machine = bmc.machine();
    for (const Bytes& record : machine.sdr) {
        for (const std::uint8_t piece : Bytes{1, 16, 255})
            EXPECT_EQ(readSdr(bmc, word(record, 0), piece), record);
    }
    bmc.setLimits({.sdr = 16, .sel = 4, .fru = 8});
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, {0, 0, 0, 0, 0, 17}), Bytes{0xca});
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, {0, 0, 0, 0, 0, 16}).size(), 19U);
    EXPECT_EQ(ask(bmc, 0x0a, 0x43, {0, 0, 0, 0, 0, 5}), Bytes{0xca});
    EXPECT_EQ(ask(bmc, 0x0a, 0x11, {0, 0, 0, 9}), Bytes{0xca});
}

TEST(SimBmc, ReservationsEndWhenTheRepositoryChanges)
{
    Bmc bmc(sample());
    const Bytes record = bmc.machine().sdr.at(1);
    const struct {
        const char* name;
        std::function<void()> change;
    } rows[] = {
        {"another reservation", [&] { ask(bmc, 0x0a, 0x22); }},
        {"touched", [&] { bmc.touchRepository(); }},
        {"record replaced", [&] { bmc.putSdr(record); }},
        {"record removed", [&] { EXPECT_TRUE(bmc.removeSdr(5)); }},
        {"lost", [&] { bmc.loseReservations(); }},
    };
    for (const auto& row : rows) {
        const Bytes reserved = ask(bmc, 0x0a, 0x22);
        const Bytes part{reserved.at(1), reserved.at(2), 1, 0, 4, 4};
        EXPECT_EQ(ask(bmc, 0x0a, 0x23, part).at(0), 0) << row.name;
        const Bytes before = ask(bmc, 0x0a, 0x20);
        row.change();
        EXPECT_EQ(ask(bmc, 0x0a, 0x23, part), Bytes{0xc5}) << row.name;
    }
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, {0, 0, 5, 0, 0, 5}), Bytes{0xcb});
    EXPECT_FALSE(bmc.removeSdr(5));
}

TEST(SimBmc, EventLogIsReadAddedToAndCleared)
{
    Bmc bmc(sample());
    const std::size_t records = bmc.machine().sel.size();
    std::size_t seen = 0;
    std::uint16_t id = 0;
    for (; id != 0xffff && seen <= records; ++seen) {
        const Bytes answer = ask(
            bmc, 0x0a, 0x43, {0, 0, static_cast<std::uint8_t>(id & 0xff), static_cast<std::uint8_t>(id >> 8), 0, 0xff});
        ASSERT_EQ(answer.size(), 19U);
        id = word(answer, 1);
    }
    EXPECT_EQ(seen, records);

    Bytes event(16, 0x11);
    event[2] = 0x02;
    const Bytes added = ask(bmc, 0x0a, 0x44, event);
    EXPECT_EQ(added, (Bytes{0, static_cast<std::uint8_t>(records + 1), 0}));
    EXPECT_EQ(word(ask(bmc, 0x0a, 0x40), 2), records + 1);

    Bytes reserved = ask(bmc, 0x0a, 0x42);
    EXPECT_EQ(ask(bmc, 0x0a, 0x46, {reserved[1], reserved[2], 1, 0}), (Bytes{0, 1, 0}));
    EXPECT_EQ(ask(bmc, 0x0a, 0x47, {reserved[1], reserved[2], 'C', 'L', 'R', 0xaa}), Bytes{0xc5});
    reserved = ask(bmc, 0x0a, 0x42);
    EXPECT_EQ(ask(bmc, 0x0a, 0x47, {reserved[1], reserved[2], 'C', 'L', 'X', 0xaa}), Bytes{0xcc});
    EXPECT_EQ(ask(bmc, 0x0a, 0x47, {reserved[1], reserved[2], 'C', 'L', 'R', 0xaa}), (Bytes{0, 1}));
    for (const std::uint8_t end : Bytes{0x00, 0xff})
        EXPECT_EQ(ask(bmc, 0x0a, 0x43, {0, 0, end, end, 0, 0xff}), Bytes{0xcb});
}

TEST(SimBmc, WhatIsSetIsReadBack)
{
    const struct {
        const char* name;
        std::uint8_t netfn, setCmd;
        Bytes set;
        std::uint8_t getCmd;
        Bytes get, expected;
    } rows[] = {
        {"thresholds by mask", 4, 0x26, {0, 0x11, 7, 99, 99, 99, 90, 99}, 0x27, {0}, {0, 0x3f, 7, 2, 0, 85, 90, 105}},
        {"hysteresis", 4, 0x24, {0, 0xff, 4, 5}, 0x25, {0, 0xff}, {0, 4, 5}},
        {"reading", 4, 0x30, {57, 0x01, 96}, 0x2d, {57}, {0, 96, 0xc0, 0xd8, 0}},
        {"states written", 4, 0x30, {10, 0x10, 0, 0x05, 0x40}, 0x2d, {10}, {0, 0, 0xc0, 0x05, 0xc0}},
        {"states set", 4, 0x30, {10, 0x20, 0, 0x01, 0}, 0x2d, {10}, {0, 0, 0xc0, 0x81, 0x80}},
        {"states cleared", 4, 0x30, {10, 0x30, 0, 0x7f, 0}, 0x2d, {10}, {0, 0, 0xc0, 0x00, 0x80}},
        {"events enabled", 4, 0x28, {11, 0xd0, 4, 0, 4, 0}, 0x29, {11}, {0, 0xc0, 0x0f, 0, 0x0f, 0}},
        {"events disabled", 4, 0x28, {11, 0x60, 1, 0, 2, 0}, 0x29, {11}, {0, 0x40, 0x0a, 0, 0x09, 0}},
        {"scanning only", 4, 0x28, {11, 0x40}, 0x29, {11}, {0, 0x40, 0x0b, 0, 0x0b, 0}},
        {"global enables", 6, 0x2e, {0x0f}, 0x2f, {}, {0, 0x0f}},
        {"OS version",
         6,
         0x58,
         {5, 0, 0, 2, '9', 'x'},
         0x59,
         {0, 5, 0, 0},
         {0, 0x11, 0, 0, 2, '9', 'x', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const auto& row : rows) {
        Bmc bmc(sample());
        EXPECT_EQ(ask(bmc, row.netfn, row.setCmd, row.set), Bytes{0}) << row.name;
        EXPECT_EQ(ask(bmc, row.netfn, row.getCmd, row.get), row.expected) << row.name;
    }
}

TEST(SimBmc, ReadingsMoveAndRepeatInEachRun)
{
    const SensorKey moving[] = {{0x20, 0, 0}, {0x20, 0, 1}, {0x20, 0, 2}};
    Bmc one(sample()), two(sample());
    for (const SensorKey& key : moving) {
        std::set<std::uint8_t> values;
        for (int i = 0; i < 100; ++i) {
            const Bytes reading = ask(one, 0x04, 0x2d, {key.number});
            EXPECT_EQ(reading, ask(two, 0x04, 0x2d, {key.number}));
            EXPECT_EQ(reading.at(3), 0xc0);
            values.insert(reading.at(1));
        }
        EXPECT_GT(values.size(), 5U) << int{key.number};
    }
    EXPECT_TRUE(one.setRawReading(moving[0], 9));
    EXPECT_EQ(ask(one, 0x04, 0x2d, {0}).at(1), 9);
    EXPECT_FALSE(one.setRawReading({0x20, 3, 0}, 9));
}

TEST(SimBmc, CountsLogsAndDelays)
{
    Bmc bmc(sample());
    bmc.keepLog(true);
    bmc.setLatency(std::chrono::milliseconds(25));
    EXPECT_EQ(exchange(bmc, 0x06, 0x01).delay, std::chrono::milliseconds(25));
    exchange(bmc, 0x06, 0x01, {1});
    exchange(bmc, 0x04, 0x2d, {3}, 0, 0x84);
    EXPECT_EQ(bmc.count(0x06, 0x01), 2U);
    EXPECT_EQ(bmc.count(), 3U);
    ASSERT_EQ(bmc.log().size(), 3U);
    EXPECT_EQ(bmc.log()[2].address, 0x84);
    bmc.clearCounts();
    bmc.keepLog(false);
    EXPECT_EQ(bmc.count() + bmc.log().size(), 0U);
}

TEST(SimBmc, ThreadsMayChangeItWhileItAnswers)
{
    Bmc bmc(sample());
    std::thread changer([&] {
        for (int i = 0; i < 200; ++i) {
            bmc.setRawReading({0x20, 0, 0}, static_cast<std::uint8_t>(i));
            bmc.touchRepository();
            bmc.setFaults(FaultPlan({{.cmd = 0x2d, .every = 2, .action = {.completionCode = 0xc0}}}));
        }
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_FALSE(ask(bmc, 0x04, 0x2d, {0}).empty());
    changer.join();
    EXPECT_EQ(bmc.count(0x04, 0x2d), 200U);
}

} // namespace Sim
