// The simulated BMC's answers: right ones, and right refusals.
#include "SimSupport.h"

#include <gtest/gtest.h>

#include <thread>

namespace Sim
{

namespace
{

/// Read by every test of a BMC of its own.
class SimBmc : public ::testing::Test
{
protected:
    /// Reservation, record id, offset and count: what Get SDR wants.
    Bytes part(std::uint8_t getCmd, const Bytes& reservation, std::uint16_t id, std::size_t offset, std::uint8_t count)
    {
        return ask(bmc, 0x0a, getCmd,
                   {reservation.at(1), reservation.at(2), static_cast<std::uint8_t>(id & 0xff),
                    static_cast<std::uint8_t>(id >> 8), static_cast<std::uint8_t>(offset), count});
    }
    const Machine sample = loadMachine("sample");
    Bmc bmc{sample};
};

} // namespace

TEST_F(SimBmc, AnswersAndRefusals)
{
    // Each "name: request > the answer's first bytes"; a refusal has but one byte.
    const struct {
        std::uint8_t address, lun;
        const char* rows;
    } places[] = {
        {0x20, 0, R"(
            device id: 06 01 > 00 20 01 02 17 02 9f d9 7e 00 34 12 01 02 03 04; device id with data: 06 01 00 > c7;
            unknown command: 06 fe > c1; unknown network function: 2e 01 > c1; self test: 06 04 > 00 55 00;
            present channel: 06 42 0e > 00 0f 0c 05;
            IPMB channel: 06 42 00 > 00 00 01 01; absent channel: 06 42 03 > cc;
            OS name, block 1: 06 59 00 04 00 00 > 00 11 00 00 1e 44 65 62;
            OS name, block 2: 06 59 00 04 01 00 > 00 11 01 75 78 20 31 32; OS name's end: 06 59 00 04 02 00 > c9;
            info revision: 06 59 80 05 00 00 > 00 11; unknown: 06 59 00 09 00 00 > 80; info cut: 06 59 00 04 00 > c7;
            read-only info: 06 58 01 00 00 00 > 82; unreserved record: 0a 23 00 00 00 00 00 05 > 00 02 00 01 00 51 01;
            unreserved part: 0a 23 00 00 00 00 01 05 > c5; wrong reservation: 0a 23 09 09 00 00 00 05 > c5;
            absent record: 0a 23 00 00 34 12 00 05 > cb; Get SDR cut: 0a 23 00 00 00 00 00 > c7;
            last record: 0a 23 00 00 ff ff 00 05 > 00 ff ff; absent log record: 0a 43 00 00 34 12 00 ff > cb;
            log record's end: 0a 43 00 00 00 00 00 00 > 00 02 00; unreserved clear: 0a 47 00 00 43 4c 52 aa > c5;
            sensor type: 04 2f 00 > 00 01 01; absent sensor: 04 2d fe > cb; event-only sensor: 04 2d 60 > cb;
            no sensor named: 04 2d > c7; discrete states: 04 2d 0a > 00 00 c0 80 80;
            shared, third of three: 04 2d 10 > 00 00 c0 00 80; shared, beyond: 04 2d 4c > cb;
            no reading: 04 2d 39 > 00 00 e0 c0 00; crossed: 04 2d 03 > 00 08 c0 c3 00;
            negative M: 04 2d 06 > 00 21 c0 c0 00; thresholds: 04 27 00 > 00 3f 05 02 00 55 5f 69;
            one readable: 04 27 34 > 00 10 00 00 00 00 55 00; fixed, unreadable: 04 27 35 > 00 00 00 00 00 00 00 00;
            thresholds of states: 04 27 0a > cd; set readable: 04 26 05 12 00 01 00 00 01 00 > cd;
            set one it lacks: 04 26 02 10 00 00 00 00 01 00 > cc; hysteresis: 04 25 00 ff > 00 02 02;
            hysteresis it lacks: 04 25 09 ff > cd; factors: 04 23 2a 00 > 00 ff 03 00 0a 00 00 00;
            factors of states: 04 23 0a 00 > cd; reserved operation: 04 28 00 f0 > cc; FRU area: 0a 10 00 > 00 00 02 00;
            absent FRU device: 0a 10 07 > cb; FRU header: 0a 11 00 00 00 08 > 00 08 01 00 01;
            FRU past its end: 0a 11 00 00 02 01 > c9; FRU, its last bytes: 0a 11 00 fe 01 10 > 00 02;)"},
        {0x20, 1, "device id: 06 01 > 00 20; repository: 0a 20 > c2;"},
        {0x82, 0, R"(
            device id: 06 01 > 00 21 01 01 03; repository: 0a 20 > c1; sensor: 04 2d 01 > 00 24;
            sensor at LUN 1: 04 2d 02 > cb;)"},
        {0x82, 1, "sensor: 04 2d 02 > 00 2f;"},
    };
    for (const auto& place : places) {
        std::istringstream rows(place.rows);
        for (std::string name, request, answer;
             std::getline(std::getline(std::getline(rows, name, ':'), request, '>'), answer, ';');) {
            const Bytes expected = hex(answer);
            Bmc fresh(sample);
            Bytes got = ask(fresh, request, place.lun, place.address);
            if (expected.at(0) == 0)
                got.resize(std::min(got.size(), expected.size()));
            EXPECT_EQ(got, expected) << name << " at " << int{place.address} << '/' << int{place.lun};
        }
    }
    for (const std::uint8_t absent : Bytes{0x22, 0x84, 0x41})
        EXPECT_FALSE(exchange(bmc, 0x06, 0x01, {}, 0, absent).answered) << int{absent};
}

// No request, however short, long or odd, does more than get a completion code.
TEST_F(SimBmc, EveryCommandSurvivesEveryLength)
{
    for (unsigned function = 0; function < 0x1000; ++function) // even network functions, all commands
        for (const std::uint8_t fill : Bytes{0x00, 0x05, 0xff})
            for (std::size_t length = 0; length < 24; ++length)
                ASSERT_FALSE(ask(bmc, static_cast<std::uint8_t>(function >> 8 & 0x0e),
                                 static_cast<std::uint8_t>(function), Bytes(length, fill))
                                 .empty());
}

TEST_F(SimBmc, RefusesPiecesBeyondItsLimits)
{
    bmc.setLimits({.sdr = 16, .sel = 4, .fru = 8});
    for (const char* tooMuch : {"0a 23 0 0 0 0 0 11", "0a 43 0 0 0 0 0 5", "0a 11 0 0 0 9"})
        EXPECT_EQ(ask(bmc, tooMuch), Bytes{0xca}) << tooMuch;
    EXPECT_EQ(ask(bmc, "0a 23 0 0 0 0 0 10").size(), 19U);
}

TEST_F(SimBmc, ReservationsEndWhenTheRepositoryChanges)
{
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"record replaced", [&] { bmc.putSdr(sample.sdr.at(1)); }},
        {"record removed", [&] { EXPECT_TRUE(bmc.removeSdr(5)); }},
        {"lost", [&] { bmc.loseReservations(); }},
    };
    for (const auto& [name, change] : rows) {
        const Bytes reserved = ask(bmc, "0a 22");
        EXPECT_EQ(part(0x23, reserved, 1, 4, 4).at(0), 0) << name;
        change();
        EXPECT_EQ(part(0x23, reserved, 1, 4, 4), Bytes{0xc5}) << name;
    }
    EXPECT_FALSE(bmc.removeSdr(5));
}

TEST_F(SimBmc, EventLogIsReadAddedToAndCleared)
{
    const std::size_t records = sample.sel.size();
    std::size_t seen = 0;
    for (std::uint16_t id = 0; id != 0xffff && seen <= records; ++seen) {
        const Bytes answer = part(0x43, {0, 0, 0}, id, 0, 0xff);
        ASSERT_EQ(answer.size(), 19U);
        id = word(answer, 1);
    }
    EXPECT_EQ(seen, records);
    Bytes event(16, 0x11);
    event[2] = 0x02;
    EXPECT_EQ(ask(bmc, 0x0a, 0x44, event), (Bytes{0, static_cast<std::uint8_t>(records + 1), 0}));
    EXPECT_EQ(word(ask(bmc, "0a 40"), 2), records + 1);

    Bytes reserved = ask(bmc, "0a 42");
    const auto clear = [&](std::uint8_t last) {
        return ask(bmc, 0x0a, 0x47, {reserved.at(1), reserved.at(2), 'C', 'L', last, 0xaa});
    };
    EXPECT_EQ(ask(bmc, 0x0a, 0x46, {reserved.at(1), reserved.at(2), 1, 0}), (Bytes{0, 1, 0})); // deletes one
    EXPECT_EQ(clear('R'), Bytes{0xc5});
    reserved = ask(bmc, "0a 42");
    EXPECT_EQ(clear('X'), Bytes{0xcc});
    EXPECT_EQ(clear('R'), (Bytes{0, 1}));
    for (const char* none : {"0a 43 0 0 0 0 0 ff", "0a 43 0 0 ff ff 0 ff"})
        EXPECT_EQ(ask(bmc, none), Bytes{0xcb});
}

TEST_F(SimBmc, WhatIsSetIsReadBack)
{
    const struct {
        const char *name, *set, *get, *expected;
    } rows[] = {
        {"thresholds by mask", "04 26 00 11 07 63 63 63 5a 63", "04 27 00", "00 3f 07 02 00 55 5a 69"},
        {"hysteresis", "04 24 00 ff 04 05", "04 25 00 ff", "00 04 05"},
        {"reading", "04 30 39 01 60", "04 2d 39", "00 60 c0 d8 00"},
        {"states written", "04 30 0a 10 00 05 40", "04 2d 0a", "00 00 c0 05 c0"},
        {"states set", "04 30 0a 20 00 01 00", "04 2d 0a", "00 00 c0 81 80"},
        {"states cleared", "04 30 0a 30 00 7f 00", "04 2d 0a", "00 00 c0 00 80"},
        {"events enabled", "04 28 0b d0 04 00 04 00", "04 29 0b", "00 c0 0f 00 0f 00"},
        {"events disabled", "04 28 0b 60 01 00 02 00", "04 29 0b", "00 40 0a 00 09 00"},
        {"scanning only", "04 28 0b 40", "04 29 0b", "00 40 0b 00 0b 00"},
        {"OS version", "06 58 05 00 00 02 39 78", "06 59 00 05 00 00", "0 11 0 0 2 39 78 0 0 0 0 0 0 0 0 0 0 0 0"},
    };
    for (const auto& row : rows) {
        Bmc fresh(sample);
        EXPECT_EQ(ask(fresh, row.set), Bytes{0}) << row.name;
        EXPECT_EQ(ask(fresh, row.get), hex(row.expected)) << row.name;
    }
}

TEST_F(SimBmc, ThreadsMayChangeItWhileItAnswers)
{
    std::thread changer([&] {
        for (int i = 0; i < 200; ++i) {
            bmc.setRawReading({0x20, 0, 0}, static_cast<std::uint8_t>(i));
            bmc.touchRepository();
            bmc.setFaults(FaultPlan({{.cmd = 0x2d, .every = 2, .action = {.completionCode = 0xc0}}}));
        }
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_FALSE(ask(bmc, "04 2d 00").empty());
    changer.join();
    EXPECT_EQ(bmc.count(0x04, 0x2d), 200U);
    bmc.setLatency(std::chrono::milliseconds(25));
    EXPECT_EQ(exchange(bmc, 0x06, 0x01).delay, std::chrono::milliseconds(25));
}

} // namespace Sim
