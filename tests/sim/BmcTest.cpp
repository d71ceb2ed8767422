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
        absent FRU device: 0a 10 07 > cb; FRU header: 0a 11 00 00 00 08 > 00 08 01 00 01..;
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
