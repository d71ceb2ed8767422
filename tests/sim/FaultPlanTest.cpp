// Faults: each action, each way to say when, and plans that are wrong.
#include "SimSupport.h"

#include <gtest/gtest.h>

namespace Sim
{

namespace
{

class SimFaultPlan : public ::testing::Test
{
protected:
    /// A plan of one rule.
    void plan(const std::string& rule) { bmc.setFaults(parseFaultPlan(R"({"faults": [{)" + rule + "}]}", "plan")); }

    Bmc bmc{loadMachine("sample")};
};

} // namespace

TEST_F(SimFaultPlan, Actions)
{
    const struct {
        const char *name, *action, *bytes;
        bool answered = true;
        int delay = 0;
    } rows[] = {
        {"completion code", R"("completion_code": "0xc0")", "c0"},
        {"no answer", R"("no_answer": true)", "", false},
        {"delay", R"("delay_ms": 70)", "00 55 00", true, 70},
        {"cut", R"("cut_to": 2)", "00 55"},
        {"cut to nothing", R"("cut_to": 0)", ""},
        {"cut longer than the answer", R"("cut_to": 9)", "00 55 00"},
        {"lengthen", R"("lengthen_to": 5)", "00 55 00 00 00"},
        {"change", R"("change": [{"offset": 1, "value": 7}, {"offset": 99, "value": 1}])", "00 07 00"},
        {"all of them", R"("change": [{"offset": 2, "value": 9}], "lengthen_to": 6, "cut_to": 4, "delay_ms": 1)",
         "00 55 09 00", true, 1},
    };
    for (const auto& row : rows) {
        plan(std::string(R"("netfn": 6, "cmd": 4, )") + row.action);
        const Answer answer = exchange(bmc, 0x06, 0x04);
        EXPECT_EQ(answer.answered, row.answered) << row.name;
        EXPECT_EQ(answer.bytes, hex(row.bytes)) << row.name;
        EXPECT_EQ(answer.delay.count(), row.delay) << row.name;
        EXPECT_EQ(ask(bmc, "06 01").at(0), 0) << row.name << ": another command";
        bmc.setFaults({});
        EXPECT_EQ(ask(bmc, "06 04"), hex("00 55 00")) << row.name;
    }
}

TEST_F(SimFaultPlan, WhenAndWhich)
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
        plan(std::string(R"("completion_code": 192, )") + when);
        std::string hits;
        for (std::uint8_t i = 0; i < 8; ++i)
            hits += ask(bmc, 0x04, 0x2d, {static_cast<std::uint8_t>(i % 2)}).at(0) == 0xc0 ? 'x' : '.';
        EXPECT_EQ(hits, expected) << when;
    }
}

TEST_F(SimFaultPlan, LostReservation)
{
    plan(R"("cmd": 35, "from": 2, "count": 1, "lost_reservation": true)");
    Bytes reserved;
    for (const std::uint8_t code : Bytes{0, 0xc5, 0xc5, 0}) { // until it is reserved again
        if (code == 0)
            reserved = ask(bmc, "0a 22");
        EXPECT_EQ(ask(bmc, 0x0a, 0x23, {reserved.at(1), reserved.at(2), 1, 0, 4, 4}).at(0), code);
    }
}

TEST_F(SimFaultPlan, BadPlans)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", ": parse error at line 1, column 1: syntax error while parsing value - unexpected end of input; "
             "expected '[', '{', or a literal"},
        {"[]", ": must be an object {...}"},
        {"{}", ": \"faults\" is missing"},
        {R"({"faults": 3})", ": \"faults\" must be a list [...] of at most 1000"},
        {R"({"faults": [], "more": 1})", ": unknown field \"more\""},
        {R"({"faults": [{}, {"netfn": 256}]})", ".faults[1]: \"netfn\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"cmd": "0xzz"}]})", ".faults[0]: \"cmd\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"data": "0"}]})", ".faults[0]: \"data\" must be a text of hexadecimal bytes, like \"01 a0\""},
        {R"({"faults": [{"every": 0}]})", ".faults[0]: \"every\" must be a whole number from 1 to 9223372036854775807"},
        {R"({"faults": [{"nth": 2, "every": 2}]})",
         ".faults[0]: \"nth\" stands alone, without \"from\", \"every\" and \"count\""},
        {R"({"faults": [{"no_answer": 1}]})", ".faults[0]: \"no_answer\" must be true or false"},
        {R"({"faults": [{"change": [{"offset": 1}]}]})", ".faults[0].change[0]: \"value\" is missing"},
    };
    for (const auto& [text, message] : rows)
        EXPECT_EQ(complaint([text = text] { parseFaultPlan(text, "plan"); }), std::string("plan") + message) << text;
}

} // namespace Sim
