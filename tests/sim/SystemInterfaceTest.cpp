// SPDX-License-Identifier: Apache-2.0
// Messages between a driver and the controllers behind the BMC: what goes where, and what comes back.
#include "sim/bus/SystemInterface.h"
#include "SimSupport.h"

using namespace std::chrono_literals;

namespace Sim
{

static const Machine kMachine =
    parseMachine(R"({"controllers": [{"address": "0x82"}, {"address": "0x86", "latency_ms": 70},
    {"address": "0x84", "absent": "silent"}, {"address": "0x88", "absent": "nak"}, {"address": "0x8a", "busy": 2},
    {"address": "0x8c", "channel": 6}], "sdr": [{"name": "a", "number": 3, "owner": "0x82", "lun": 1, "entity": 1,
    "type": "fan", "value": 7}]})",
                 "file");

// Send Message, message flags, Get Message.
TEST(SimSystemInterface, MessagesGoAndComeBack)
{
    converse(kMachine, R"(
        no IPMB: 06 34 03 82 18 66 20 02 01 dd > cc | 06 34 0f 82 18 66 20 02 01 dd > cc | 06 31 > 00 00;
        authenticated, encrypted, or raw: 06 34 10 82 18 66 20 02 01 dd > cc | 06 34 20 82 18 66 20 02 01 dd > cc |
            06 34 80 82 18 66 20 02 01 dd > cc | 06 31 > 00 00;
        wrong length: 06 34 > c7 | 06 34 00 82 18 66 20 02 01 > c7 | 06 31 00 > c7 | 06 2e > c7 |
            06 34 00 82 18 66 20 02 01 01 02 03 04 05 06 07 08 09 0a 0b 0c 0d 0e 0f 01 02 03 04 05 06 07 08 09 0a 0b
                d1 > c7;
        at another LUN: @20/1/f 06 34 00 82 18 66 20 02 01 dd > c2;
        checksums: 06 34 00 82 18 67 20 02 01 dd > 00 | 06 34 00 82 18 66 20 02 01 de > 00 | 06 31 > 00 00;
        not from the BMC's software: 06 34 00 82 18 66 22 02 01 db > 00 | 06 34 00 82 18 66 20 00 01 df > 00 |
            06 31 > 00 00;
        tracked: 06 34 40 82 18 66 20 02 01 dd > 00 | 06 31 > 00 01 | 06 33 > 00 00 1e c2 82 00 01 00.. | 06 33 > 80;
        broadcast: 06 34 00 00 82 18 66 20 02 01 dd > 00 | 06 33 > 00 00 1e c2 82 00 01 00.. | 06 31 > 00 00;
        two: 06 34 00 82 18 66 20 02 01 dd > 00 | 06 34 00 82 18 66 20 06 01 d9 > 00 | 06 33 > 00 00 1e c2 82 00.. |
            06 31 > 00 01 | 06 33 > 00 00 1e c2 82 04..;
        taken away: 06 34 00 82 18 66 20 02 01 dd > 00 | 06 30 01 > 00 | 06 33 > 80;
        still under way: 06 34 00 86 18 62 20 02 01 dd > 00 | 06 30 01 > 00 | +70 | 06 33 > 00 00..;
        its sensor: 06 34 00 82 11 6d 20 02 2d 03 ae > 00 | 06 33 > 00 00 16 ca 82 01 2d 00 07 c0 c0 00 c9;
        no such sensor: 06 34 00 82 10 6e 20 02 2d 03 ae > 00 | 06 33 > 00 00 16 ca 82 00 2d cb 86;
        the BMC's alone: 06 34 00 82 28 56 20 02 20 be > 00 | 06 33 > 00 00 2e b2 82 00 20 c1 9d;
        the BMC: 06 34 00 20 28 b8 20 02 20 be > 00 | 06 33 > 00 00 2e b2 20 00 20 00..;
        slow: 06 34 00 86 18 62 20 02 01 dd > 00 | +69 | 06 31 > 00 00 | 06 33 > 80 | +1 |
            06 31 > 00 01 | 06 33 > 00 00..;
        silent: 06 34 00 84 18 64 20 02 01 dd > 00 | 06 31 > 00 00;
        not there: 06 34 00 88 18 60 20 02 01 dd > 83 | 06 31 > 00 00;
        unknown: 06 34 00 8e 18 5a 20 02 01 dd > 00 | 06 31 > 00 00;
        busy: 06 34 00 8a 18 5e 20 02 01 dd > 00 | 06 34 00 8a 18 5e 20 02 01 dd > 00 |
            06 34 00 8a 18 5e 20 02 01 dd > 00 | 06 33 > 00 00 1e c2 8a 00 01 c0 b5 |
            06 33 > 00 00 1e c2 8a 00 01 c0 b5 | 06 33 > 00 00 1e c2 8a 00 01 00..;
        other IPMB: 06 34 06 8c 18 5c 20 02 01 dd > 00 | 06 33 > 00 06 1e c2 8c 00 01 00..;
        on the wrong IPMB: 06 34 00 8c 18 5c 20 02 01 dd > 00 | 06 31 > 00 00;)");
    World world(kMachine);
    for (std::size_t length = 0; length < 300; ++length)
        EXPECT_EQ(world.driver.handle({.netfn = 6, .cmd = 0x34, .data = Bytes(length)}).bytes.size(), 1U) << length;
    EXPECT_FALSE(world.driver.attention());
}

TEST(SimSystemInterface, QueueIsBoundedAndInTheOrderOfArrival)
{
    World world(kMachine);
    world.converse("06 34 00 86 10 6a 20 02 2d 01 b0 > 00"); // CBh, late
    EXPECT_FALSE(world.driver.attention());
    EXPECT_EQ(world.driver.nextDue(), world.time + 70ms);
    for (std::size_t i = 0; i < 2 * SystemInterface::kQueueSize; ++i)
        world.converse("06 34 00 82 18 66 20 02 01 dd > 00");
    EXPECT_TRUE(world.driver.attention());
    EXPECT_EQ(world.driver.nextDue(), std::nullopt);
    world.time += 70ms;
    for (std::size_t i = 1; i < SystemInterface::kQueueSize; ++i)
        world.converse("06 33 > 00 00 1e c2 82 00 01 00..");
    world.converse("06 33 > 00 00 16 ca 86 00 2d cb 82 | 06 33 > 80");
}

} // namespace Sim
