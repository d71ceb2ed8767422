// SPDX-License-Identifier: Apache-2.0
// The event log: who may do what to it, what becomes of it, and the events that sensors send.
#include "SimSupport.h"

using namespace std::chrono_literals;

namespace Sim
{

namespace
{

Machine machine(std::uint64_t clearAsks = 0, std::chrono::milliseconds clearTime = 0ms)
{
    Machine made = parseMachine(R"({"controllers": [{"address": "0x82", "channel": 7}], "sel_capacity": 5, "sel": [
        "01 00 02 01 00 00 5a 20 00 04 01 01 01 57 5f 55", "05 00 02 02 00 00 5a 20 00 04 01 01 81 57 50 55"], "sdr": [
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
        {"kind": "compact", "name": "Node", "number": 5, "owner": "0x82", "lun": 1, "entity": 10,
         "type": "power supply", "event_type": "0x6f", "assertions": "0x0003", "states": 0}]})",
                                "file");
    made.selClearAsks = clearAsks;
    made.selClearTime = clearTime;
    return made;
}

} // namespace

TEST(SimSel, ReservationsPartsAndTimes)
{
    converse(machine(), R"(
        without: 0a 43 00 00 00 00 01 01 > c5 | 0a 43 09 00 00 00 00 ff > c5 | 0a 46 00 00 00 00 > c5 |
            0a 47 00 00 43 4c 52 aa > c5 | 0a 45 00 00 00 00 00 00 01 > c5;
        read: 0a 42 > 00 01 00 | 0a 43 00 00 05 00 00 ff > 00.. | 0a 43 01 00 ff ff 01 02 > 00 ff ff 00 02;
        added: 0a 42 | 0a 44 00 00 02 00 00 00 00 20 00 04 01 01 01 57 5f 55 > 00 06 00 | 0a 43 01 00 ff ff 01 02 > c5;
        deleted: 0a 42 | 0a 46 01 00 99 00 > cb | 0a 46 01 00 00 00 > 00 01 00 | 0a 43 01 00 ff ff 01 02 > c5;
        reserved again: 0a 42 | 0a 42 > 00 02 00 | 0a 43 01 00 ff ff 01 02 > c5 | 0a 43 02 00 ff ff 01 02 > 00..;
        without a time: 0a 44 00 00 e0 aa bb cc dd 00 00 00 00 00 00 00 00 00 > 00 06 00 |
            0a 43 00 00 06 00 00 07 > 00 ff ff 06 00 e0 aa bb cc dd;
        reset: 0a 42 | {"cmd": 1, "silent_ms": 1} | 06 01 > - | +1 | 0a 43 01 00 ff ff 01 02 > c5;
        lost: 0a 42 | {"cmd": 1, "lost_reservation": true} | 06 01 > 00.. | 0a 43 01 00 ff ff 01 02 > c5;
        read in parts: 0a 42 | 0a 43 01 00 00 00 00 04 > 00 05 00 01 00 02 01 |
            0a 43 01 00 00 00 0e ff > 00 05 00 5f 55 | 0a 43 01 00 ff ff 0f 09 > 00 ff ff 55 |
            0a 43 01 00 01 00 10 01 > c9 | 0a 43 01 00 02 00 00 ff > cb;
        added in parts: 0a 42 | 0a 45 01 00 00 00 00 00 ee ee 02 > 00 06 00 | 0a 45 01 00 06 00 04 00 01 > c9 |
            0a 45 01 00 06 00 02 00 01 01 01 > c9 | 0a 45 01 00 07 00 03 00 01 > cb | 0a 45 01 00 06 00 0a 01 07 > c9 |
            0a 45 01 00 06 00 03 01 01 > 80 | 0a 45 01 00 06 00 03 00 01 01 01 01 20 00 04 > 00 06 00 |
            0a 45 01 00 06 00 0a 01 07 > 80 | 0a 45 01 00 06 00 0a 00 01 02 03 04 05 06 07 > c9 |
            0a 40 > 00 51 02 00.. | 0a 45 01 00 06 00 0a 01 07 08 09 0a 0b 0c > 00 06 00 |
            0a 45 01 00 06 00 0a 01 07 > c5 | 0a 40 > 00 51 03 00.. |
            0a 43 00 00 06 00 00 ff > 00 ff ff 06 00 02 00 00 00 10 20 00 04 07 08 09 0a 0b 0c;
        wrong letter: 0a 42 | 0a 47 01 00 43 4c 58 aa > cc;
        last processed: 04 14 02 01 00 > cc | 04 14 00 34 12 > 00 | 04 14 01 78 56 > 00 |
            04 15 > 00 00 00 00 00 05 00 34 12 78 56;
        time: 0a 5c > 00 ff 07 | 0a 5d a1 05 > cc | 0a 5d 60 fa > 00 | 0a 5c > 00 60 fa | 0a 49 01 02 03 04 > 00 |
            +1000 | 0a 48 > 00 02 02 03 04;)");
}

TEST(SimSel, FillsUpAndStartsAnew)
{
    World world(machine());
    world.converse(R"(
        0a 44 00 00 c0 00 00 00 00 00 00 00 00 00 00 00 00 00 > 00 06 00 | +1000 |
        0a 44 00 00 c0 00 00 00 00 00 00 00 00 00 00 00 00 00 > 00 07 00 | +1000 |
        0a 44 00 00 e0 00 00 00 00 00 00 00 00 00 00 00 00 00 > 00 08 00 | +1000 |
        0a 40 > 00 51 05 00 00 00 02 00 00 10 ff ff ff ff 0f |
        0a 44 00 00 02 00 00 00 00 20 00 04 01 01 01 57 5f 55 > c4 | 0a 41 > 00 05 00 10 00 00 00 00 00 01 |
        0a 40 > 00 51 05 00 00 00 02 00 00 10 ff ff ff ff 8f | 04 15 > 00 02 00 00 10 08 00 00 00 00 00 |
        0a 42 > 00 01 00 | 0a 46 01 00 ff ff > 00 08 00)");
    EXPECT_EQ(world.bmc.state()->raiseEvent({0, 0, 0xc0}), 9U) << "an id does not come again";
    world.converse(R"(0a 42 > 00 02 00 | +1000 | 0a 47 02 00 43 4c 52 aa > 00 01 |
        0a 40 > 00 51 00 00 50 00 03 00 00 10 04 00 00 10 0f)");
    EXPECT_EQ(world.bmc.state()->raiseEvent({0, 0, 0xc0}), 1U);
    EXPECT_EQ(world.bmc.state()->log.add({0, 0, 0xe0}), 2U);
    std::string kinds;
    const SelJournal journal = world.bmc.state()->log.journal();
    for (const SelJournalEntry& entry : journal)
        kinds += "adcr"[static_cast<int>(entry.kind)] + std::to_string(idOf(entry.record)) + ' ';
    EXPECT_EQ(kinds, "a6 a7 a8 r0 d8 a9 c0 a1 a2 ") << "added, deleted, cleared, refused";
    EXPECT_TRUE(world.bmc.state()->log.remove(1));
    EXPECT_FALSE(world.bmc.state()->log.remove(1));
}

TEST(SimSel, ClearTakesItsTime)
{
    converse(machine(), R"(
        at once: 0a 42 > 00 01 00 | 0a 47 01 00 43 4c 52 aa > 00 01 | 0a 47 01 00 43 4c 52 aa > c5;)");
    converse(machine(2), R"(
        asked twice: 0a 42 > 00 01 00 | 0a 47 01 00 43 4c 52 aa > 00 00 | 0a 43 00 00 00 00 00 ff > cb |
            0a 47 01 00 43 4c 52 00 > 00 00 | 0a 47 01 00 43 4c 52 00 > 00 01;)");
    for (const std::uint64_t asks : {0U, 1U})
        converse(machine(asks, 150ms), R"(
            for a time: 0a 42 > 00 01 00 | 0a 47 01 00 43 4c 52 aa > 00 00 | 04 15 > 81 | 04 14 00 01 00 > 81 | +149 |
                0a 47 01 00 43 4c 52 00 > 00 00 | +1 | 0a 47 01 00 43 4c 52 00 > 00 01;)");
}

TEST(SimSel, IdsGoRound)
{
    Machine almost = machine();
    setId(almost.sel.back(), 0xfffd);
    World world(almost);
    EXPECT_EQ(world.bmc.state()->raiseEvent({}), 0xfffe);
    EXPECT_EQ(world.bmc.state()->raiseEvent({}), 2U) << "1 is in use";
    world.converse("0a 43 00 00 fd ff 00 00 > 00 fe ff | 0a 43 00 00 fe ff 00 00 > 00 02 00");
}

// One sensor's changes after another's: Set Sensor Reading, then the events that came of it.
TEST(SimSel, SensorsSendEventsAsTheyChange)
{
    World world(machine());
    const char* rows = R"(
        between the thresholds: 04 30 01 01 3c | 04 30 01 01 54 | 04 30 01 01 0b | 04 30 01 01 32 | log >;
        up: 04 30 01 01 55 | 04 30 01 01 56 | log > 20 00 01 01 57 55 55;
        within the hysteresis: 04 30 01 01 54 | 04 30 01 01 53 | 04 30 01 01 55 | log >;
        two at once: 04 30 01 01 52 | 04 30 01 01 78 |
            log > 20 00 01 81 57 52 55, 20 00 01 01 57 78 55, 20 00 01 01 59 78 5f;
        far down: 04 30 01 01 0a | log > 20 00 01 81 59 0a 5f, 20 00 01 81 57 0a 55, 20 00 01 01 50 0a 0a;
        back up: 04 30 01 01 0d | log > | 04 30 01 01 0e | log > 20 00 01 81 50 0e 0a;
        threshold moved: 04 26 01 08 00 00 00 0e 00 00 | log > 20 00 01 01 57 0e 0e;
        and back: 04 26 01 08 00 00 00 55 00 00 | log > 20 00 01 81 57 0e 55;
        events off: 04 28 01 40 | 04 30 01 01 63 | 04 30 01 01 0e | 04 28 01 c0 | log >;
        not scanned: 04 28 01 80 | 04 30 01 01 63 | 04 30 01 01 0e | 04 28 01 c0 | log >;
        one off: 04 28 01 e0 80 00 00 00 | 04 30 01 01 5a | 04 30 01 01 0e | log > 20 00 01 81 57 0e 55;
        asserted once: 04 30 02 01 5a | 04 30 02 01 14 | 04 30 02 01 5b | log > 20 00 02 01 59 5a 5a;
        armed again: 04 2a 02 80 00 02 | log > 20 00 02 01 59 5b 5a | 04 2a 02 00 | log > 20 00 02 01 59 5b 5a;
        falling raw: 04 30 03 01 65 | log > | 04 30 03 01 64 | log > 20 00 03 01 57 64 64;
        moves when read: 04 2d 04 | 04 2d 04 | 04 2d 04 | log > 20 00 04 81 52 14 0a, 20 00 04 01 52 0a 0a;
        states: 04 30 05 10 00 03 00 | 04 30 05 10 00 09 00 | 04 30 05 10 00 01 00 |
            log > 20 00 05 6f 01 ff ff, 20 00 05 ef 01 ff ff, 20 00 05 6f 03 ff ff;
        a satellite's: @82/1/7 04 30 05 10 00 01 00 | log > 82 71 05 6f 00 ff ff;
        no logging: 06 2e 01 | 04 30 03 01 00 | log > | 06 2e 09;
        status: 04 2b 02 > 00 c0 00 02 00 00 | 04 2b 05 > 00 c0 01 00 02 00;)";
    forEachRow(rows, [&](const std::string& steps) { world.converse(steps); });
    world.bmc.state()->setUnavailable({0x20, 0, 1}, true);
    world.bmc.state()->setStates({0x20, 0, 5}, 3);
    world.converse("log > 20 00 05 6f 01 ff ff | 04 2d 01 > 00 00 e0.. | 04 30 01 01 0e | 04 2d 01 > 00 0e c0..");
}

// Platform Event: over the system interface, and from a satellite over its IPMB; and the event message buffer.
TEST(SimSel, EventMessages)
{
    World world(machine());
    world.converse(R"(
        06 2f > 00 09 | 04 02 41 03 01 30 01 59 > 00 | 06 35 > 80 | log > 41 00 30 01 59 ff ff | 06 2e 04 > 00 |
        06 2f > 00 04 | 04 02 41 03 01 30 01 > c7 | 04 02 41 03 01 30 01 59 01 02 03 > c7 | 06 31 > 00 00 |
        04 02 41 03 01 30 01 59 > 00 | 06 34 07 20 10 d0 82 05 02 04 01 31 01 59 5a 5b 32 > 00 | 06 31 > 00 02)");
    EXPECT_TRUE(world.driver.attention());
    EXPECT_FALSE(world.driver.putEvent(Bytes(16, 0x11))) << "one at a time";
    world.converse(R"(
        06 35 > 00 01 00 02 00 00 00 10 41 00 04 01 30 01 59 ff ff | 06 35 > 80 | 06 2e 0c | 06 2f > 00 0c |
        06 34 07 20 10 d0 82 05 02 04 01 31 01 59 5a 5b 32 > 00 | 06 31 > 00 02 | 06 30 02 > 00 | 06 35 > 80 |
        06 34 07 20 10 d0 82 05 02 04 01 31 01 59 5a 5b 32 > 00 |
        06 35 > 00 03 00 02 00 00 00 10 82 71 04 01 31 01 59 5a 5b |
        log > 41 00 30 01 59 ff ff, 82 71 31 01 59 5a 5b, 82 71 31 01 59 5a 5b)");
}

} // namespace Sim
