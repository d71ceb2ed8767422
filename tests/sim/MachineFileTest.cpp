// Machine files: what is wrong in them is said in one line, whatever they hold.
#include "SimSupport.h"

#include <gtest/gtest.h>

namespace Sim
{

namespace
{

std::string sensor(const std::string& fields)
{
    return R"({"sdr": [{"name": "x", "number": 1, "entity": 7, "type": "fan", )" + fields + "}]}";
}

std::string complaintOf(const std::string& text)
{
    return complaint([&] { parseMachine(text, "file"); });
}

} // namespace

TEST(SimMachineFile, Complaints)
{
    const std::pair<const char*, const char*> files[] = {
        {"3", ": must be an object {...}"},
        {R"({"sdr": [{"kind": "sensor"}]})",
         ".sdr[0]: \"kind\" must be one of: full, compact, event-only, fru, controller, device, association, "
         "device association, oem, raw"},
        {R"({"sdr": [{"name": "x"}]})", ".sdr[0]: \"number\" is missing"},
        {R"({"fru": [{"device": 1, "product": [3]}]})", ".fru[0].product[0]: must be a text"},
        {R"({"sel": ["00"]})", ".sel[0]: must be a text of 16 hexadecimal bytes"},
        {R"({"sel": [], "sel_capacity": 65535})", ": \"sel_capacity\" must be a whole number from 1 to 65534"},
        {R"({"identity": {"self_test": "55"}})", ".identity: \"self_test\" must have 2 bytes"},
        {R"({"controllers": [{"address": 33}]})", ".controllers[0]: \"address\" must be even, an 8-bit slave address"},
        {R"({"controllers": [{"address": 2}, {"address": 2}]})",
         ".controllers[1]: \"address\" is the BMC's or another controller's"},
        {R"({"controllers": [{"address": 2, "absent": "no"}]})",
         ".controllers[0]: \"absent\" must be \"silent\" or \"nak\""},
        {"{\"na\\u000ame\": 1}", ": unknown field \"na?me\""},
    };
    for (const auto& [text, message] : files)
        EXPECT_EQ(complaintOf(text), std::string("file") + message) << text;
    const std::pair<const char*, const char*> sensors[] = {
        {R"("linearization": "cubic")", ": \"linearization\" must be a number or one of: linear, ln, log10, log2, e^x, "
                                        "10^x, 2^x, 1/x, square, cube, sqrt, cube root"},
        {R"("m": 1.5)", ": \"m\" must be a whole number from -512 to 511"},
        {R"("readable": ["upper"])", ": \"readable\" must list some of: lnc, lc, lnr, unc, uc, unr"},
        {R"("hysteresis": [1])", ": \"hysteresis\" must be two raw numbers: positive, negative"},
        {R"("value": "high")", ".value: must be a number in the sensor's unit or {\"ramp\": [low, high]}"},
        {R"("value": {"saw": [1, 2]})", ".value: must have \"ramp\", \"sine\" or \"noise\""},
        {R"("encoding": "bcd plus")", ": \"name\" has a character that BCD plus lacks (it has 0-9 and \" -.:,_\")"},
        {R"("kind": "compact", "event_type": 111, "share": {"count": 16})",
         ".share: \"count\" must be a whole number from 1 to 15"},
    };
    for (const auto& [fields, message] : sensors)
        EXPECT_EQ(complaintOf(sensor(fields)), std::string("file.sdr[0]") + message) << fields;
}

TEST(SimMachineFile, FruFieldsThatDoNotFit)
{
    const std::string longest = '"' + std::string(63, 'x') + '"';
    std::string many = longest;
    for (int i = 1; i < 32; ++i)
        many += ", " + longest;
    for (const auto& [fields, message] :
         {std::pair('"' + std::string(64, 'x') + '"', "a FRU field has more than 63 characters"),
          {many, "a FRU area is too long"}})
        EXPECT_EQ(complaintOf(R"({"fru": [{"device": 1, "product": [)" + fields + "]}]}"),
                  std::string("file.fru[0]: ") + message);
}

TEST(SimMachineFile, FilesThatAreNone)
{
    const ScratchFile deep(std::string(200'000, '['));
    const ScratchFile nested(std::string(200'000, '[') + std::string(200'000, ']'));
    for (const std::string& path : {std::string("/nowhere/machine.json"), std::string("/tmp"), std::string("/dev/zero"),
                                    std::string(), deep.path(), nested.path()})
        EXPECT_THROW(loadMachine(path), BadFile) << path;
    const ScratchFile good(R"({"name": "mine", "identity": {"product": "0x1234"}})");
    EXPECT_EQ(loadMachine(good.path()).identity.product, 0x1234);
}

TEST(SimMachineFile, MovingValuesStayBetweenTheirEnds)
{
    const std::pair<const char*, std::vector<int>> rows[] = {
        {R"({"ramp": [10, 50], "period": 4})", {10, 20, 30, 40, 10}},
        {R"({"ramp": [50, 10], "period": 2})", {10, 30, 10}},
        {R"({"sine": [0, 100], "period": 4})", {50, 100, 50, 0, 50}},
        {R"({"noise": [0, 200], "seed": 9})", {60, 171, 151}},
        {R"({"ramp": [1, 3], "period": 1})", {1, 1}},
        {"12", {12, 12}},
    };
    for (const auto& [value, first] : rows) {
        Bmc bmc(parseMachine(sensor(std::string(R"("value": )") + value), "file"));
        for (const int expected : first)
            EXPECT_EQ(int{ask(bmc, "04 2d 01").at(1)}, expected) << value;
    }
}

} // namespace Sim
