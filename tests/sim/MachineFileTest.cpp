// Machine files: what is wrong in them is said in one line, whatever they hold.
#include "sim/MachineFile.h"

#include "SimSupport.h"
#include "sim/BuiltinMachines.h"

#include <gtest/gtest.h>

#include <random>

namespace Sim
{

namespace
{

std::string sensor(const std::string& fields)
{
    return R"({"sdr": [{"name": "x", "number": 1, "entity": 7, "type": "fan")" + fields + "}]}";
}

/// The text must be taken or refused with one line; nothing else may happen.
void expectTakenOrRefused(const std::string& text)
{
    try {
        parseMachine(text, "file");
    } catch (const BadFile& error) {
        EXPECT_EQ(std::string(error.what()).find_first_of("\n\r\t"), std::string::npos) << error.what();
    }
}

} // namespace

TEST(SimMachineFile, Complaints)
{
    const struct {
        std::string text;
        const char* message;
    } rows[] = {
        {"3", "file: must be an object {...}"},
        {R"({"sdr": {}})", "file: \"sdr\" must be a list [...] of at most 65534"},
        {R"({"sdr": [{"kind": "sensor"}]})",
         "file.sdr[0]: \"kind\" must be one of: full, compact, event-only, fru, controller, device, association, "
         "device association, oem, raw"},
        {R"({"sdr": [{"name": "x"}]})", "file.sdr[0]: \"number\" is missing"},
        {R"({"sdr": [{"number": "256"}]})", "file.sdr[0]: \"number\" must be a whole number from 0 to 255"},
        {sensor(R"(, "linearization": "cubic")"),
         "file.sdr[0]: \"linearization\" must be a number or one of: linear, ln, log10, log2, e^x, 10^x, 2^x, 1/x, "
         "square, cube, sqrt, cube root"},
        {sensor(R"(, "linearization": 128)"), "file.sdr[0]: \"linearization\" must be a whole number from 0 to 127"},
        {sensor(R"(, "m": 512)"), "file.sdr[0]: \"m\" must be a whole number from -512 to 511"},
        {sensor(R"(, "m": 1.5)"), "file.sdr[0]: \"m\" must be a whole number from -512 to 511"},
        {sensor(R"(, "thresholds": {"upper": 1})"), "file.sdr[0].thresholds: unknown field \"upper\""},
        {sensor(R"(, "thresholds": {"uc": "hot"})"),
         "file.sdr[0].thresholds: \"uc\" must be a number in the sensor's unit"},
        {sensor(R"(, "readable": ["upper"])"),
         "file.sdr[0]: \"readable\" must list some of: lnc, lc, lnr, unc, uc, unr"},
        {sensor(R"(, "hysteresis": [1])"), "file.sdr[0]: \"hysteresis\" must be two raw numbers: positive, negative"},
        {sensor(R"(, "value": "high")"),
         "file.sdr[0].value: must be a number in the sensor's unit or {\"ramp\": [low, high]}"},
        {sensor(R"(, "value": {"ramp": [1]})"), "file.sdr[0].value: \"ramp\" must be two numbers in the sensor's unit"},
        {sensor(R"(, "value": {"saw": [1, 2]})"), "file.sdr[0].value: must have \"ramp\", \"sine\" or \"noise\""},
        {sensor(R"(, "treshold": 1)"), "file.sdr[0]: unknown field \"treshold\""},
        {sensor(R"(, "encoding": "bcd plus")"),
         "file.sdr[0]: \"name\" has a character that BCD plus lacks (it has 0-9 and \" -.:,_\")"},
        {sensor(R"(, "kind": "compact")"), "file.sdr[0]: \"event_type\" is missing"},
        {sensor(R"(, "kind": "compact", "event_type": 111, "share": {"count": 16})"),
         "file.sdr[0].share: \"count\" must be a whole number from 1 to 15"},
        {R"({"fru": [{"device": 1, "data": "0g"}]})",
         "file.fru[0]: \"data\" must be a text of hexadecimal bytes, like \"01 a0\""},
        {R"({"fru": [{"device": 1, "product": [3]}]})", "file.fru[0].product[0]: must be a text"},
        {R"({"sel": ["00"]})", "file.sel[0]: must be a text of 16 hexadecimal bytes"},
        {R"({"identity": {"self_test": "55"}})", "file.identity: \"self_test\" must have 2 bytes"},
        {R"({"controllers": [{"address": 33}]})",
         "file.controllers[0]: \"address\" must be even, an 8-bit slave address"},
        {"{\"na\\u000ame\": 1}", "file: unknown field \"na?me\""},
    };
    for (const auto& row : rows) {
        try {
            parseMachine(row.text, "file");
            ADD_FAILURE() << "taken: " << row.text;
        } catch (const BadFile& error) {
            EXPECT_STREQ(error.what(), row.message);
        }
    }
}

TEST(SimMachineFile, FilesThatAreNone)
{
    EXPECT_THROW(loadMachine("/nowhere/machine.json"), BadFile);
    EXPECT_THROW(loadMachine("/tmp"), BadFile);
    EXPECT_THROW(loadMachine("/dev/zero"), BadFile);
    EXPECT_THROW(loadMachine(""), BadFile);
    const ScratchFile deep(std::string(200'000, '['));
    EXPECT_THROW(loadMachine(deep.path()), BadFile);
    const ScratchFile nested(std::string(200'000, '[') + std::string(200'000, ']'));
    EXPECT_THROW(loadMachine(nested.path()), BadFile);
    const ScratchFile good(R"({"name": "mine", "identity": {"product": "0x1234"}})");
    EXPECT_EQ(loadMachine(good.path()).identity.product, 0x1234);
}

TEST(SimMachineFile, DamagedFilesAreTakenOrRefused)
{
    const std::string whole(builtinMachineFiles().front().text);
    std::mt19937 random(1);
    for (std::size_t length = 0; length < whole.size(); length += 211)
        expectTakenOrRefused(whole.substr(0, length));
    for (int round = 0; round < 150; ++round) {
        std::string damaged = whole;
        for (int i = 0; i < 3; ++i)
            damaged[random() % damaged.size()] = "0123456789-.\"{}[],:ax\xff"[random() % 23];
        expectTakenOrRefused(damaged);
    }
}

TEST(SimMachineFile, MovingValuesStayBetweenTheirEnds)
{
    const struct {
        const char* value;
        std::vector<int> first; ///< the first readings
    } rows[] = {
        {R"({"ramp": [10, 50], "period": 4})", {10, 20, 30, 40, 10}},
        {R"({"ramp": [50, 10], "period": 2})", {10, 30, 10}},
        {R"({"sine": [0, 100], "period": 4})", {50, 100, 50, 0, 50}},
        {R"({"noise": [7, 7], "seed": 9})", {7, 7, 7}},
        {R"({"ramp": [1, 3], "period": 1})", {1, 1}},
        {"12", {12, 12}},
    };
    for (const auto& row : rows) {
        Bmc bmc(parseMachine(sensor(std::string(R"(, "value": )") + row.value), "file"));
        for (const int expected : row.first)
            EXPECT_EQ(int{ask(bmc, 0x04, 0x2d, {1}).at(1)}, expected) << row.value;
    }
}

} // namespace Sim
