// Faults: each action, each way to say when, and plans that are wrong.
#include "sim/FaultPlan.h"

#include "SimSupport.h"
#include "sim/MachineFile.h"

#include <gtest/gtest.h>

namespace Sim
{

namespace
{

const Bytes kSelfTest{0x00, 0x55, 0x00};

} // namespace

TEST(SimFaultPlan, Actions)
{
    const struct {
        const char* name;
        const char* action;
        bool answered;
        Bytes bytes;
        int delay;
    } rows[] = {
        {"completion code", R"("completion_code": "0xc0")", true, {0xc0}, 0},
        {"no answer", R"("no_answer": true)", false, {}, 0},
        {"delay", R"("delay_ms": 70)", true, kSelfTest, 70},
        {"cut", R"("cut_to": 2)", true, {0x00, 0x55}, 0},
        {"cut to nothing", R"("cut_to": 0)", true, {}, 0},
        {"cut longer than the answer", R"("cut_to": 9)", true, kSelfTest, 0},
        {"lengthen", R"("lengthen_to": 5)", true, {0x00, 0x55, 0x00, 0x00, 0x00}, 0},
        {"change", R"("change": [{"offset": 1, "value": 7}, {"offset": 99, "value": 1}])", true, {0x00, 7, 0x00}, 0},
        {"all of them",
         R"("change": [{"offset": 2, "value": 9}], "lengthen_to": 6, "cut_to": 4, "delay_ms": 1)",
         true,
         {0x00, 0x55, 9, 0x00},
         1},
    };
    for (const auto& row : rows) {
        Bmc bmc(loadMachine("sample"));
        bmc.setFaults(
            parseFaultPlan(std::string(R"({"faults": [{"netfn": 6, "cmd": 4, )") + row.action + "}]}", "plan"));
        const Answer answer = exchange(bmc, 0x06, 0x04);
        EXPECT_EQ(answer.answered, row.answered) << row.name;
        EXPECT_EQ(answer.bytes, row.bytes) << row.name;
        EXPECT_EQ(answer.delay.count(), row.delay) << row.name;
        EXPECT_EQ(ask(bmc, 0x06, 0x01).at(0), 0) << row.name << ": another command";
        bmc.setFaults({});
        EXPECT_EQ(ask(bmc, 0x06, 0x04), kSelfTest) << row.name;
    }
}

TEST(SimFaultPlan, WhenAndWhich)
{
    const struct {
        const char* name;
        const char* when;
        const char* hits; ///< per request: x when it goes wrong
    } rows[] = {
        {"always", R"("cmd": 45)", "xxxxxxxx"},
        {"third", R"("nth": 3)", "..x....."},
        {"every second", R"("every": 2)", ".x.x.x.x"},
        {"every third from the second, twice", R"("every": 3, "from": 2, "count": 2)", ".x..x..."},
        {"first four", R"("count": 4)", "xxxx...."},
        {"from the sixth", R"("from": 6)", ".....xxx"},
        {"data prefix", R"("data": "01")", ".x.x.x.x"},
        {"second with that data", R"("data": "01", "nth": 2)", "...x...."},
        {"longer data", R"("data": "01 00")", "........"},
        {"another command", R"("cmd": 46)", "........"},
        {"another network function", R"("netfn": 6)", "........"},
        {"address", R"("address": "0x82")", "........"},
    };
    for (const auto& row : rows) {
        Bmc bmc(loadMachine("sample"));
        bmc.setFaults(
            parseFaultPlan(std::string(R"({"faults": [{"completion_code": 192, )") + row.when + "}]}", "plan"));
        std::string hits;
        for (std::uint8_t i = 0; i < 8; ++i)
            hits += ask(bmc, 0x04, 0x2d, {static_cast<std::uint8_t>(i % 2)}).at(0) == 0xc0 ? 'x' : '.';
        EXPECT_EQ(hits, row.hits) << row.name;
    }
}

TEST(SimFaultPlan, LostReservation)
{
    Bmc bmc(loadMachine("sample"));
    bmc.setFaults(FaultPlan({{.cmd = 0x23, .from = 2, .count = 1, .action = {.lostReservation = true}}}));
    Bytes reserved = ask(bmc, 0x0a, 0x22);
    const Bytes part{reserved.at(1), reserved.at(2), 1, 0, 4, 4};
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, part).at(0), 0);
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, part).at(0), 0xc5);
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, part).at(0), 0xc5);
    reserved = ask(bmc, 0x0a, 0x22);
    EXPECT_EQ(ask(bmc, 0x0a, 0x23, {reserved.at(1), reserved.at(2), 1, 0, 4, 4}).at(0), 0);
}

TEST(SimFaultPlan, BadPlans)
{
    const struct {
        const char* text;
        const char* message;
    } rows[] = {
        {"", "plan: parse error at line 1, column 1: syntax error while parsing value - unexpected end of input; "
             "expected '[', '{', or a literal"},
        {"[]", "plan: must be an object {...}"},
        {"{}", "plan: \"faults\" is missing"},
        {R"({"faults": 3})", "plan: \"faults\" must be a list [...] of at most 1000"},
        {R"({"faults": [7]})", "plan.faults[0]: must be an object {...}"},
        {R"({"faults": [{}, {"netfn": 256}]})", "plan.faults[1]: \"netfn\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"cmd": "0xzz"}]})", "plan.faults[0]: \"cmd\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"data": "0"}]})",
         "plan.faults[0]: \"data\" must be a text of hexadecimal bytes, like \"01 a0\""},
        {R"({"faults": [{"every": 0}]})",
         "plan.faults[0]: \"every\" must be a whole number from 1 to 9223372036854775807"},
        {R"({"faults": [{"nth": 2, "every": 2}]})",
         "plan.faults[0]: \"nth\" stands alone, without \"from\", \"every\" and \"count\""},
        {R"({"faults": [{"cut_to": -1}]})", "plan.faults[0]: \"cut_to\" must be a whole number from 0 to 1024"},
        {R"({"faults": [{"no_answer": 1}]})", "plan.faults[0]: \"no_answer\" must be true or false"},
        {R"({"faults": [{"change": [{"offset": 1}]}]})", "plan.faults[0].change[0]: \"value\" is missing"},
        {R"({"faults": [{"completoin_code": 1}]})", "plan.faults[0]: unknown field \"completoin_code\""},
        {R"({"faults": [], "more": 1})", "plan: unknown field \"more\""},
    };
    for (const auto& row : rows) {
        try {
            parseFaultPlan(row.text, "plan");
            ADD_FAILURE() << "taken: " << row.text;
        } catch (const BadFile& error) {
            EXPECT_STREQ(error.what(), row.message);
        }
    }
}

} // namespace Sim
