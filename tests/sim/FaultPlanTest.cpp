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
    /// Get SDR of the first record under a reservation.
    Bytes part(const Bytes& reserved, std::uint8_t offset = 4, std::uint8_t count = 4)
    {
        return ask(bmc, 0x0a, 0x23, {reserved.at(1), reserved.at(2), 1, 0, offset, count});
    }

    std::chrono::milliseconds now{1000};
    Bmc bmc{loadMachine("sample"), [this] { return now; }};
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
        EXPECT_EQ(part(reserved).at(0), code);
    }
}

TEST_F(SimFaultPlan, OtherIdsInAnswersThatCarryARecord)
{
    const struct {
        const char *action, *request, *bytes;
    } rows[] = {
        {R"("other_record_id": 4660)", "0a 23 0 0 1 0 0 3", "00 02 00 34 12 51"},
        {R"("other_record_id": 4660)", "0a 43 0 0 1 0 0 3", "00 02 00 34 12 02"},
        {R"("other_record_id": 4660)", "0a 23 0 0 ee ee 0 3", "cb"},
        {R"("other_record_id": 4660, "next_id": 1)", "0a 23 0 0 1 0 0 0", "00 01 00"},
        {R"("next_id": "0x5678")", "0a 43 0 0 1 0 0 1", "00 78 56 01"},
        {R"("next_id": "0x5678")", "06 04", "00 55 00"},
        {R"("next_id": "0x5678", "completion_code": 0, "lengthen_to": 3)", "0a 23 0 0 1 0 0 3", "00 00 00"},
    };
    for (const auto& row : rows) {
        plan(row.action);
        EXPECT_EQ(ask(bmc, row.request), hex(row.bytes)) << row.action << ' ' << row.request;
    }
    plan(R"("netfn": 10, "cmd": 35, "other_record_id": 4660)");
    const Bytes reserved = ask(bmc, "0a 22");
    EXPECT_EQ(part(reserved, 1, 2), hex("00 02 00 12 51"));
    EXPECT_EQ(part(reserved, 2, 1), hex("00 02 00 51"));
}

TEST_F(SimFaultPlan, RepositoryChangesBeforeTheCommand)
{
    const struct {
        const char* change;
        int records, erasures;
    } rows[] = {{"touched", 0, 0}, {"record_removed", -1, 1}, {"record_added", 1, 0}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.change);
        plan(R"("cmd": 35, "nth": 1, "repository": ")" + std::string(row.change) + '"');
        const Bytes before = ask(bmc, "0a 20"), reserved = ask(bmc, "0a 22");
        EXPECT_EQ(part(reserved), Bytes{0xc5});
        const Bytes after = ask(bmc, "0a 20"); // from byte 2 on the records, from 6 and 10 on two times
        EXPECT_EQ(word(after, 2) - word(before, 2), row.records);
        EXPECT_NE(word(after, 6), word(before, 6));
        EXPECT_EQ(word(after, 10) != word(before, 10), row.erasures != 0);
    }
    EXPECT_EQ(word(ask(bmc, "0a 23 0 0 ff ff 0 ff"), 6), 0x03c0) << "the OEM record added";
}

TEST_F(SimFaultPlan, SilentWhileItResets)
{
    const struct {
        std::uint8_t reset, asked; ///< addresses
        int after;                 ///< milliseconds
        bool answered;
    } rows[] = {
        {0x20, 0x20, 0, false},  {0x20, 0x20, 299, false}, {0x20, 0x20, 300, true}, {0x20, 0x82, 299, false},
        {0x20, 0x82, 300, true}, {0x82, 0x82, 299, false}, {0x82, 0x82, 300, true}, {0x82, 0x20, 0, true},
    };
    bmc.change([](Machine& machine) { machine.controllers[0x82] = {}; });
    for (const auto& row : rows) {
        plan(R"("cmd": 2, "silent_ms": 300)");
        const Bytes reserved = ask(bmc, "0a 22");
        EXPECT_FALSE(exchange(bmc, 0x06, 0x02, {}, 0, row.reset).answered) << "nor is the request itself";
        now += std::chrono::milliseconds(row.after);
        EXPECT_EQ(exchange(bmc, 0x06, 0x01, {}, 0, row.asked).answered, row.answered) << row.after;
        now += std::chrono::seconds(1);
        EXPECT_EQ(part(reserved).at(0), row.reset == 0x20 ? 0xc5 : 0x00) << "lost with the BMC's memory";
    }
    EXPECT_EQ(bmc.counts().at({0x06, 0x02}), std::size(rows)) << "silent or not";
}

TEST_F(SimFaultPlan, RandomFaultsOfTheKindsNamed)
{
    EXPECT_EQ(Dice(0).next(), 0xe220a8397b1dcdaf) << "as published: a seed means the same everywhere";
    const Bytes good = ask(bmc, "0a 23 0 0 1 0 0 1e");
    const auto eventLog = [&] { return std::pair(bmc.selJournal().size(), bmc.selTime()); };
    bmc.keepSelJournal(true);
    for (const std::string_view name : faultNames()) {
        const std::string random = R"({"random": {"seed": 7, "per_mille": 500, "cmd": 35, "from": 11, "faults": [")" +
                                   std::string(name) + R"("]}})";
        bmc.setFaults(parseFaultPlan(random, "plan"));
        int wrong = 0, early = 0;
        for (int i = 0; i < 110; ++i) {
            const Bytes reserved = ask(bmc, "0a 22");
            const auto before = eventLog();
            const Answer answer = exchange(bmc, 0x0a, 0x23, {reserved.at(1), reserved.at(2), 1, 0, 0, 30});
            (i < 10 ? early : wrong) += answer.bytes != good || answer.delay.count() != 0 || eventLog() != before;
        }
        EXPECT_TRUE(early == 0 && wrong > 20 && wrong < 70) << name << ' ' << wrong;
    }
    bmc.setFaults(parseFaultPlan(R"({"random": {"seed": 1, "per_mille": 1000, "count": 1, "faults": [
                                 {"completion_code": 1}]}, "faults": [{"nth": 2, "completion_code": 2}]})",
                                 "plan"));
    for (const std::uint8_t code : Bytes{1, 2, 0})
        EXPECT_EQ(ask(bmc, "06 01").at(0), code) << "both in one plan";
}

TEST_F(SimFaultPlan, BadPlans)
{
    const std::pair<const char*, const char*> rows[] = {
        {"", ": parse error at line 1, column 1: syntax error while parsing value - unexpected end of input; "
             "expected '[', '{', or a literal"},
        {"{}", ": \"faults\" is missing"},
        {R"({"faults": 3})", ": \"faults\" must be a list [...] of at most 1000"},
        {R"({"faults": [], "more": 1})", ": unknown field \"more\""},
        {R"({"faults": [{}, {"netfn": 256}]})", ".faults[1]: \"netfn\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"cmd": "0xzz"}]})", ".faults[0]: \"cmd\" must be a whole number from 0 to 255"},
        {R"({"faults": [{"data": "0"}]})", ".faults[0]: \"data\" must be a text of hexadecimal bytes, like \"01 a0\""},
        {R"({"faults": [{"nth": 2, "every": 2}]})",
         ".faults[0]: \"nth\" stands alone, without \"from\", \"every\" and \"count\""},
        {R"({"faults": [{"no_answer": 1}]})", ".faults[0]: \"no_answer\" must be true or false"},
        {R"({"faults": [{"repository": "gone"}]})",
         ".faults[0]: \"repository\" must be a number or one of: touched, record_removed, record_added"},
        {R"({"random": {"seed": 1, "per_mille": 1, "faults": []}})",
         ".random: \"faults\" must have one or more; leave it out for all there are"},
        {R"({"random": {"seed": 1, "per_mille": 1, "faults": [{"cut_to": 1}, "cut"]}})",
         ".random.faults[1]: must be an action {...} or one of: lost_reservation, repository, no_answer, "
         "completion_code, other_record_id, next_id, change, lengthen_to, cut_to, delay_ms, sel"},
    };
    for (const auto& [text, message] : rows)
        EXPECT_EQ(complaint([text = text] { parseFaultPlan(text, "plan"); }), std::string("plan") + message) << text;
}

} // namespace Sim
