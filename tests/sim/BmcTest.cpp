// SPDX-License-Identifier: Apache-2.0
// The simulated BMC's answers: right ones, and right refusals.
#include "SimSupport.h"

#include <thread>

namespace Sim
{

TEST(SimBmc, AnswersAndRefusals)
{
    converse(loadMachine("sample"), R"(
        device id: 06 01 > 00 20 01 02 17 02 9f d9 7e 00 34 12 01 02 03 04; device id with data: 06 01 00 > c7;
        unknown command: 06 fe > c1; unknown network function: 2e 01 > c1; self test: 06 04 > 00 55 00;
        LAN channel: 06 42 01 > 00 01 04 01 80 f2 1b 00 00 00; its access: 06 41 01 80 > 00 22 04;
        access of none: 06 41 03 40 > cc; access of no kind: 06 41 01 00 > cc; of the interface: 06 41 0e 40 > 00 0a 00;
        access set until a reset: 06 40 01 81 c3 > 00 | 06 41 01 80 > 00 01 03 | 06 41 01 40 > 00 22 04 |
            {"cmd": 1, "silent_ms": 1} | 06 01 > - | +1 | 06 41 01 80 > 00 22 04;
        access set to stay: 06 40 01 41 00 > 00 | 06 41 01 80 > 00 01 04 | 06 40 00 41 00 > cc;
        LAN address: 0c 02 01 03 00 00 > 00 11 c0 00 02 11; revision: 0c 02 81 03 00 00 > 00 11;
        MAC: 0c 02 01 05 00 00 > 00 11 52 54 00 ab cd 01; source: 0c 02 01 04 00 00 > 00 11 02;
        VLAN: 0c 02 01 14 00 00 > 00 11 2a 80; VLAN priority: 0c 02 01 15 00 00 > 00 11 03;
        community: 0c 02 01 10 00 00 > 00 11 70 75 62 6c 69 63 00 00 00 00 00 00 00 00 00 00 00 00;
        IPv6 room: 0c 02 01 37 00 00 > 00 11 02 03 03; no such LAN channel: 0c 02 02 03 00 00 > cc;
        static IPv6: 0c 02 01 38 00 00 > 00 11 00 80 20 01 0d b8 00 00 00 42 00 00 00 00 00 00 00 17 40 00;
        unused IPv6: 0c 02 01 38 01 00 > 00 11 01 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01;
        dynamic IPv6: 0c 02 01 3b 00 00 > 00 11 00 01 fe 80 00 00 00 00 00 00 50 54 00 ff fe ab cd 01 40 00;
        IPv6 beyond: 0c 02 01 38 02 00 > c9; DUID: 0c 02 01 3a 00 00 > 00 11 00 00 00..; its block: 0c 02 01 3a 00 01 > c9;
        no LAN parameter: 0c 02 01 1b 00 00 > 80; parameter cut: 0c 02 01 03 00 > c7; write too short: 0c 01 01 03 01 > c7;
        write read-only: 0c 01 01 37 00 00 00 > 82; write unknown: 0c 01 01 c0 00 > 80; write elsewhere: 0c 01 02 03 01 02 03 04 > cc;
        set in progress: 0c 02 01 00 00 00 > 00 11 00 | 0c 01 01 00 01 > 00 | 0c 02 01 00 00 00 > 00 11 01 |
            0c 01 01 00 01 > 81 | 0c 01 01 00 02 > 00 | 0c 01 01 00 03 > cc | 0c 01 01 03 0a 00 00 01 > 00 | 0c 01 01 00 00 > 00 |
            0c 02 01 03 00 00 > 00 11 0a 00 00 01 | 0c 02 01 00 00 00 > 00 11 00;
        progress lost: 0c 01 01 00 01 > 00 | {"cmd": 1, "silent_ms": 1} | 06 01 > - | +1 | 0c 02 01 00 00 00 > 00 11 00;
        IPv6 set: 0c 01 01 38 01 80 fd 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 30 05 > 00 |
            0c 02 01 38 01 00 > 00 11 01 80 fd 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 30 00;
        IPv6 set beyond: 0c 01 01 38 02 80 fd 00 00 00 00 00 00 00 00 00 00 00 00 00 00 01 30 00 > c9;
        LAN of a satellite: @82 0c 02 01 03 00 00 > c1;
        present channel: 06 42 0e > 00 0f 0c 05..; IPMB channel: 06 42 00 > 00 00 01 01..;
        absent channel: 06 42 03 > cc; OS name, block 1: 06 59 00 04 00 00 > 00 11 00 00 1e 44 65 62..;
        OS name, block 2: 06 59 00 04 01 00 > 00 11 01 75 78 20 31 32..; OS name's end: 06 59 00 04 02 00 > c9;
        info revision: 06 59 80 05 00 00 > 00 11; unknown: 06 59 00 09 00 00 > 80; info cut: 06 59 00 04 00 > c7;
        read-only info: 06 58 01 00 00 00 > 82; unreserved record: 0a 23 00 00 00 00 00 05 > 00 02 00 01 00 51 01 33;
        unreserved part: 0a 23 00 00 00 00 01 05 > c5; wrong reservation: 0a 23 09 09 00 00 00 05 > c5;
        absent record: 0a 23 00 00 34 12 00 05 > cb; Get SDR cut: 0a 23 00 00 00 00 00 > c7;
        last record: 0a 23 00 00 ff ff 00 05 > 00 ff ff..; absent log record: 0a 43 00 00 34 12 00 ff > cb;
        log record's end: 0a 43 00 00 00 00 00 00 > 00 02 00;
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
        absent FRU device: 0a 10 07 > cb; FRU header: 0a 11 00 00 00 08 > 00 08 01 01 03..;
        FRU past its end: 0a 11 00 00 02 01 > c9; FRU, its last bytes: 0a 11 00 fe 01 10 > 00 02..;
        other LUN: @20/1/f 06 01 > 00 20..; repository at it: @20/1/f 0a 20 > c2;
        satellite: @82 06 01 > 00 21 01 01 03..; its repository: @82 0a 20 > c1; its sensor: @82 04 2d 01 > 00 24..;
        sensor at LUN 1: @82 04 2d 02 > cb; there: @82/1 04 2d 02 > 00 2f..;
        no such satellites: @22 06 01 > - | @84 06 01 > - | @41 06 01 > -;
        thresholds set by mask: 04 26 00 11 07 63 63 63 5a 63 > 00 | 04 27 00 > 00 3f 07 02 00 55 5a 69;
        hysteresis set: 04 24 00 ff 04 05 > 00 | 04 25 00 ff > 00 04 05;
        reading set: 04 30 39 01 60 > 00 | 04 2d 39 > 00 60 c0 d8 00;
        states written: 04 30 0a 10 00 05 40 > 00 | 04 2d 0a > 00 00 c0 05 c0;
        states set: 04 30 0a 20 00 01 00 > 00 | 04 2d 0a > 00 00 c0 81 80;
        states cleared: 04 30 0a 30 00 7f 00 > 00 | 04 2d 0a > 00 00 c0 00 80;
        events enabled: 04 28 0b d0 04 00 04 00 > 00 | 04 29 0b > 00 c0 0f 00 0f 00;
        events disabled: 04 28 0b 60 01 00 02 00 > 00 | 04 29 0b > 00 40 0a 00 09 00;
        scanning only: 04 28 0b 40 > 00 | 04 29 0b > 00 40 0b 00 0b 00;
        OS version: 06 58 05 00 00 02 39 78 > 00 | 06 59 00 05 00 00 > 00 11 00 00 02 39 78 00 00.. | 06 58 00 01 > 00 |
            06 59 00 00 00 00 > 00 11 01 | {"cmd": 1, "silent_ms": 1} | 06 01 > - | +1 |
            06 59 00 05 00 00 > 00 11 00 00 03 36 2e 31.. | 06 59 00 00 00 00 > 00 11 00;)");
}

TEST(SimBmc, RefusesPiecesBeyondItsLimits)
{
    World world(loadMachine("sample"));
    world.bmc.state()->limits = {.sdr = 7, .sel = 4, .fru = 8};
    world.bmc.setLatency(std::chrono::milliseconds(25));
    world.converse("0a 23 00 00 00 00 00 08 > ca +25 | 0a 43 00 00 00 00 00 05 > ca +25 | 0a 11 00 00 00 09 > ca +25 | "
                   "0a 23 00 00 00 00 00 07 > 00 02 00 01 00 51 01 33 20 00 +25");
}

// No request, however short, long or odd, does more than get a completion code.
TEST(SimBmc, EveryCommandSurvivesEveryLength)
{
    World world(loadMachine("sample"));
    for (unsigned function = 0; function < 0x1000; ++function) // even network functions, all commands
        for (const std::uint8_t fill : Bytes{0x00, 0x05, 0xff})
            for (std::size_t length = 0; length < 24; ++length)
                ASSERT_FALSE(world.driver
                                 .handle({.netfn = static_cast<std::uint8_t>(function >> 8 & 0x0e),
                                          .cmd = static_cast<std::uint8_t>(function),
                                          .data = Bytes(length, fill)})
                                 .bytes.empty());
}

TEST(SimBmc, ThreadsMayChangeItWhileItAnswers)
{
    World world(loadMachine("sample"));
    std::thread changer([&] {
        for (std::uint8_t i = 0; i < 200; ++i) {
            world.bmc.change([i](Machine& machine) { machine.find({0x20, 0, 0})->raw = RawSource::constant(i); });
            world.bmc.state()->touchRepository();
            world.bmc.setFaults(FaultPlan({{.cmd = 0x2d, .every = 2, .action = {.completionCode = 0xc0}}}));
        }
    });
    for (int i = 0; i < 200; ++i)
        EXPECT_NE(world.ask("04 2d 00"), "");
    changer.join();
}

} // namespace Sim
