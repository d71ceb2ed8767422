// SPDX-License-Identifier: Apache-2.0
// Faults: each action, each way to say when, and plans that are wrong.
#include "SimSupport.h"

namespace Sim
{

TEST(SimFaultPlan, Actions)
{
    converse(loadMachine("sample"), R"(
        completion code: {"netfn": 6, "cmd": 4, "completion_code": "0xc0"} | 06 04 > c0 | 06 01 > 00..;
        no answer: {"cmd": 4, "no_answer": true} | 06 04 > -; delay: {"delay_ms": 70} | 06 04 > 00 55 00 +70;
        cut: {"cut_to": 2} | 06 04 > 00 55; cut to nothing: {"cut_to": 0} | 06 04 >;
        cut longer than the answer: {"cut_to": 9} | 06 04 > 00 55 00;
        lengthen to less: {"lengthen_to": 2} | 06 04 > 00 55 00; lengthen: {"lengthen_to": 5} | 06 04 > 00 55 00 00 00;
        change: {"change": [{"offset": 1, "value": 7}, {"offset": 99, "value": 1}]} | 06 04 > 00 07 00;
        all: {"change": [{"offset": 2, "value": 9}], "lengthen_to": 6, "cut_to": 4, "delay_ms": 1} |
            06 04 > 00 55 09 00 +1;
        lost reservation: {"cmd": 35, "from": 2, "count": 1, "lost_reservation": true} |
            0a 22 > 00 01 00 | 0a 23 01 00 01 00 04 01 > 00.. | 0a 23 01 00 01 00 04 01 > c5 |
            0a 23 01 00 01 00 04 01 > c5 | 0a 22 > 00 02 00 | 0a 23 02 00 01 00 04 01 > 00..;
        other id of a record: {"other_record_id": 4660} | 0a 23 00 00 01 00 00 03 > 00 02 00 34 12 51 |
            0a 43 00 00 01 00 00 03 > 00 02 00 34 12 02 | 0a 23 00 00 ee ee 00 03 > cb;
        in a part: {"cmd": 35, "other_record_id": 4660} | 0a 22 > 00 01 00 |
            0a 23 01 00 01 00 01 02 > 00 02 00 12 51 | 0a 23 01 00 01 00 02 01 > 00 02 00 51;
        two ids: {"other_record_id": 4660, "next_id": 1} | 0a 23 00 00 01 00 00 00 > 00 01 00;
        next id: {"next_id": "0x5678"} | 0a 43 00 00 01 00 00 01 > 00 78 56 01 | 06 04 > 00 55 00;
        next id of none: {"next_id": 1, "completion_code": 0, "lengthen_to": 3} | 0a 23 00 00 01 00 00 03 > 00 00 00;
        event added: {"cmd": 67, "sel": "record_added"} | 0a 43 00 00 02 00 00 00 > 00 03 00 |
            log > 20 00 ff ff ff ff ff;
        first deleted: {"nth": 1, "sel": "record_deleted"} | 0a 43 00 00 02 00 00 00 > 00.. |
            0a 43 00 00 01 00 00 00 > cb;
        asked deleted: {"nth": 1, "sel": "asked_deleted"} | 0a 43 00 00 02 00 00 00 > cb |
            0a 43 00 00 01 00 00 00 > 00..;
        cleared: {"sel": "cleared"} | 0a 43 00 00 00 00 00 00 > cb;
        the BMC resets: {"cmd": 2, "silent_ms": 300} | 0a 22 > 00 01 00 | 06 02 > - | 06 04 > - | +299 |
            06 04 > - | @82 06 04 > - | +1 | 06 04 > 00 55 00 | @82 06 04 > 00 55 00 | 0a 23 01 00 01 00 04 04 > c5;
        a satellite resets: {"cmd": 2, "silent_ms": 300} | 0a 22 > 00 01 00 | @82 06 02 > - | 06 04 > 00 55 00 | +299 |
            @82 06 04 > - | +1 | @82 06 04 > 00 55 00 | 0a 23 01 00 01 00 04 01 > 00..;
        time set back: {"sel": "time_back"} | 0a 48 > 00 f0 f1 ff 0f;)");
    Machine machine = loadMachine("sample");
    machine.sdr.resize(3);
    // Get SDR Repository Info: how many records, then the times of the last addition and of the last erasure.
    converse(machine, R"(
        nothing: 0a 20 > 00 51 03 00 40 ff 00 00 00 60 00 00 00 60 23;
        touched: {"cmd": 35, "repository": "touched"} | 0a 22 > 00 01 00 | 0a 23 01 00 01 00 04 04 > c5 |
            0a 20 > 00 51 03 00 40 ff 01 00 00 60 00 00 00 60 23;
        removed: {"cmd": 35, "repository": "record_removed"} | 0a 22 > 00 01 00 | 0a 23 01 00 01 00 04 04 > c5 |
            0a 20 > 00 51 02 00 80 ff 01 00 00 60 01 00 00 60 23;
        added: {"cmd": 35, "repository": "record_added"} | 0a 22 > 00 01 00 | 0a 23 01 00 01 00 04 04 > c5 |
            0a 20 > 00 51 04 00 30 ff 01 00 00 60 00 00 00 60 23 |
            0a 23 00 00 ff ff 00 ff > 00 ff ff 05 00 51 c0 03 00 00 00;)");
}

TEST(SimFaultPlan, WhenAndWhich)
{
    const std::pair<const char*, const char*> rows[] = {
        // the rule, and per request: x when it goes wrong
        {R"("cmd": 45)", "xxxxxxxx"},       {R"("nth": 3)", "..x....."},
        {R"("every": 2)", ".x.x.x.x"},      {R"("every": 3, "from": 2, "count": 2)", ".x..x..."},
        {R"("count": 4)", "xxxx...."},      {R"("from": 6)", ".....xxx"},
        {R"("data": "01")", ".x.x.x.x"},    {R"("data": "01", "nth": 2)", "...x...."},
        {R"("data": "01 00")", "........"}, {R"("cmd": 46)", "........"},
        {R"("netfn": 6)", "........"},      {R"("address": "0x82")", "........"},
    };
    for (const auto& [when, expected] : rows) {
        World world(loadMachine("sample"));
        world.converse(std::string(R"({"completion_code": 192, )") + when + "}");
        std::string hits;
        for (int i = 0; i < 8; ++i)
            hits += world.ask(i % 2 == 0 ? "04 2d 00" : "04 2d 01") == "c0" ? 'x' : '.';
        EXPECT_EQ(hits, expected) << when;
    }
}

TEST(SimFaultPlan, RandomFaultsOfTheKindsNamed)
{
    EXPECT_EQ(Dice(0).next(), 0xe220a8397b1dcdaf) << "as published: a seed means the same everywhere";
    World world(loadMachine("sample"));
    const std::string good = world.ask("0a 23 00 00 01 00 00 1e");
    for (const std::string_view name : faultNames()) {
        const std::string random = R"({"random": {"seed": 7, "per_mille": 500, "cmd": 35, "from": 11, "faults": [")" +
                                   std::string(name) + R"("]}})";
        world.bmc.setFaults(parseFaultPlan(random, "plan"));
        int wrong = 0, early = 0;
        for (int i = 0; i < 110; ++i) {
            const std::string reserved = world.ask("0a 22").substr(2);
            const auto eventLog = [&] {
                const auto state = world.bmc.state();
                return std::pair(state->log.journal().size(), state->now());
            };
            const auto before = eventLog();
            const bool differs = world.ask("0a 23" + reserved + " 01 00 00 1e") != good;
            (i < 10 ? early : wrong) += differs || eventLog() != before;
        }
        EXPECT_TRUE(early == 0 && wrong > 20 && wrong < 70) << name << ' ' << wrong;
    }
    world.bmc.setFaults(parseFaultPlan(R"({"random": {"seed": 1, "per_mille": 1000, "count": 1, "faults": [
                                       {"completion_code": 1}]}, "faults": [{"nth": 2, "completion_code": 2}]})",
                                       "plan"));
    world.converse("06 04 > 01 | 06 04 > 02 | 06 04 > 00 55 00"); // both in one plan
}

TEST(SimFaultPlan, BadPlans)
{
    expectRefused(R"(
        => file: parse error at line 1, column 1: syntax error while parsing value - unexpected end of input; ..
        {} => file: "faults" is missing
        {"faults": 3} => file: "faults" must be a list [...] of at most 1000
        {"faults": [{"cmd": "0xzz"}]} => file.faults[0]: "cmd" must be a whole number from 0 to 255
        {"faults": [{"data": "0"}]} => file.faults[0]: "data" must be a text of hexadecimal bytes, like "01 a0"
        {"faults": [{"nth": 2, "every": 2}]} => file.faults[0]: "nth" stands alone, without "from", ..
        {"faults": [{"no_answer": 1}]} => file.faults[0]: "no_answer" must be true or false
        {"faults": [{}, {"repository": "gone"}]} => file.faults[1]: "repository" must be a number or one of: touched, ..
        {"random": {"seed": 1, "per_mille": 1, "faults": []}} => file.random: "faults" must have one or more; ..
        {"random": {"seed": 1, "per_mille": 1, "faults": [{"cut_to": 1}, "cut"]}} => file.random.faults[1]: must be ..
        )",
                  parseFaultPlan);
}

} // namespace Sim
