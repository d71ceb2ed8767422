// SPDX-License-Identifier: Apache-2.0
// FRUs as they are shown, damaged ones too, and chosen.
#include "../fru/FruSamples.h"
#include "base/Failure.h"
#include "fru/FruSelection.h"
#include "fru/FruView.h"

#include <gmock/gmock.h>
#include <sstream>

namespace Tool
{

namespace
{

using namespace FruTest;
using Ipmi::IpmiFruDevice;
using testing::HasSubstr;

constexpr std::size_t kChassisAt = 8, kOutputAt = 24, kOemAt = kOutputAt + 18;

/// A chassis with part number "AB", a field of bytes ff 00, and no more; an output of 12 V; a maker's record.
Bytes image()
{
    const Bytes output{0x82, 0xb0, 0x04, 0xc4, 0xff, 60, 0, 120, 0, 0xf4, 1, 0x10, 0x27};
    return joined({{1, 0, 1, 0, 0, 3, 0, 0xfb},
                   info({23}, {latin("AB"), latin(""), field(0, {'\xff', '\0'})}),
                   record(0x01, output),
                   record(0xc0, {0xd9, 0x7e, 0x00, 0x2a}, true)});
}

IpmiFruDevice device(const std::string& name, std::uint8_t id)
{
    IpmiFruDevice result;
    result.state = IpmiFruDevice::kRead;
    result.name = name;
    result.hasLocator = true;
    result.id = id;
    result.controller = 0x20;
    result.entity = Ipmi::IpmiEntity(10, 1, 0);
    return result;
}

FruView fruOf(const Bytes& bytes)
{
    IpmiFruDevice whole = device("PSU", 1);
    whole.size = static_cast<unsigned int>(bytes.size());
    whole.areas = Ipmi::decodeFru(bytes.data(), bytes.size(), nullptr);
    return FruView(whole);
}

} // namespace

TEST(FruViewTest, AllOfADevice)
{
    EXPECT_EQ(textOf(fruOf(image()), false), R"(PSU (FRU 1)
  entity                                  Power Supply 1 (10.1)
  controller                              0x20, LUN 0, channel 0
  size                                    51 bytes
  chassis area
    Chassis Type                          Rack Mount Chassis
    Chassis Part Number                   AB
    Chassis Serial Number                 -
    Custom Field 1                        ff00
  multi-record area
    DC Output (type 0x01)
      Standby                             yes
      Output Number                       2
      Nominal Voltage                     12 V
      Maximum Negative Voltage Deviation  -0.6 V
      Maximum Positive Voltage Deviation  0.6 V
      Ripple and Noise pk-pk              0.12 V
      Minimum Current Draw                0.5 A
      Maximum Current Draw                10 A
    OEM (type 0xc0)
      Manufacturer ID                     32473
      Data                                2a
)");
    Json json = jsonOf(fruOf(image()));
    Json& output = json["records"][0]["fields"];
    output = Json::array({output[0], output[3]}); // a flag and a number will do
    EXPECT_EQ(
        json.dump(),
        R"({"id":1,"name":"PSU","controller":32,"lun":0,"channel":0,)"
        R"("entity":{"id":10,"instance":1,"name":"Power Supply"},"areas":[{"kind":"chassis","checksum_ok":true,"fields":[)"
        R"({"name":"Chassis Type","value":"Rack Mount Chassis","encoding":"code","code":23},)"
        R"({"name":"Chassis Part Number","value":"AB","encoding":"latin-1"},)"
        R"({"name":"Chassis Serial Number","value":"","encoding":"latin-1"},)"
        R"({"name":"Custom Field 1","value":"ff00","encoding":"binary"}],"whole":true,"offset":8}],)"
        R"("records":[{"type":1,"name":"DC Output","checksum_ok":true,"fields":[)"
        R"({"name":"Standby","value":true,"unit":"","encoding":"flag"},)"
        R"({"name":"Maximum Negative Voltage Deviation","value":-0.6,"unit":"V","encoding":"number"}]},)"
        R"({"type":192,"name":"OEM","checksum_ok":true,"fields":[)"
        R"({"name":"Manufacturer ID","value":"32473","unit":"","encoding":"code","code":32473},)"
        R"({"name":"Data","value":"2a","unit":"","encoding":"binary"}]}],"error":null,)"
        R"("multi_record":{"checksum_ok":true,"whole":true,"offset":24},"size":51,"logical":true,"bus":null})");
}

/// The lines that something is wrong with, as "thing: what".
std::string marksIn(const std::string& text)
{
    std::string marks;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        if (const std::size_t gap = line.rfind("  ");
            line.find("wrong") != line.npos || line.find("cut off") != line.npos) {
            const std::string thing = line.substr(0, line.find("  ", line.find_first_not_of(' ')));
            marks += thing.substr(thing.find_first_not_of(' ')) + ": " + line.substr(gap + 2) + '|';
        }
    return marks;
}

TEST(FruViewTest, DamagesAreMarked)
{
    const Bytes good = image(), shorter = firstOf(good, good.size() - 1);
    const auto with = [](const Bytes& from, std::size_t place, std::uint8_t value) {
        return changed(from, {{place, value}});
    };
    const std::string records = "multi-record area: checksum wrong|", either = "checksum wrong or cut off|";
    const struct {
        const char* what;
        Bytes image;
        const char* flags; ///< chassis: checksum, whole; records: checksum, whole
        std::string marks;
    } rows[] = {
        {"nothing", good, "[true,true,true,true]", ""},
        {"a field", with(good, kChassisAt + 4, 'a'), "[false,true,true,true]", "chassis area: checksum wrong|"},
        {"a size", with(good, kChassisAt + 1, 0x42), "[false,false,true,true]", "chassis area: cut off|"},
        {"a record", with(good, kOutputAt + 8, 0), "[true,true,false,true]",
         records + "DC Output (type 0x01): checksum wrong|"},
        {"the last one", with(good, kOemAt + 8, 0), "[true,true,false,true]",
         records + "OEM (type 0xc0): checksum wrong|"},
        {"no end", shorter, "[true,true,false,false]", "multi-record area: " + either + "OEM (type 0xc0): " + either},
        {"a record and no end", with(shorter, kOutputAt + 8, 0), "[true,true,false,false]",
         "multi-record area: " + either + "DC Output (type 0x01): checksum wrong|OEM (type 0xc0): " + either},
        {"one record", firstOf(good, kOemAt), "[true,true,true,false]", "multi-record area: cut off|"},
        {"header", with(good, 6, 1), "[true,true,true,true]", "contents: the common header has a wrong checksum|"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const FruView fru("a file", row.image);
        EXPECT_EQ(marksIn(textOf(fru, false)), row.marks);
        const Json json = jsonOf(fru), chassis = json["areas"][0], multi = json["multi_record"];
        EXPECT_EQ((Json{chassis["checksum_ok"], chassis["whole"], multi["checksum_ok"], multi["whole"]}).dump(),
                  row.flags);
        EXPECT_EQ(json["error"].is_null(), row.what != std::string("header"));
        for (const char* key : {"id", "name", "controller", "lun", "channel", "entity", "logical", "bus"})
            EXPECT_TRUE(json[key].is_null()) << key;
    }
}

TEST(FruViewTest, CutAnywhereAndOfAnyByteItIsShown)
{
    const Bytes good = image();
    for (std::size_t i = 0; i < good.size(); ++i) {
        for (const Bytes& bytes : {firstOf(good, i), changed(good, {{i, 0xff}})}) {
            const FruView fru("a file", bytes);
            EXPECT_TRUE(textOf(fru, true).starts_with("a file\n"));
            EXPECT_EQ(Json::parse(jsonDocument(jsonOf(fru)))["areas"].size(),
                      fru.device.areas.size() - (jsonOf(fru)["multi_record"].is_null() ? 0U : 1U));
        }
    }
}

TEST(FruViewTest, WhyThereAreNoContents)
{
    struct Row {
        IpmiFruDevice::State state;
        bool headerOk;
        int bus; ///< -1: logical
        std::vector<const char*> texts;
    };
    const Row rows[] = {
        {IpmiFruDevice::kRead, true, -1, {"no areas"}},
        {IpmiFruDevice::kRead, false, -1, {"bad header: its checksum is wrong"}},
        {IpmiFruDevice::kBadHeader, true, -1, {"bad header: its format is not known\n"}},
        {IpmiFruDevice::kBadHeader, false, -1, {"not known, and its checksum is wrong"}},
        {IpmiFruDevice::kNotAsked, true, -1, {"not asked: it is a memory module's own"}},
        {IpmiFruDevice::kNotAsked,
         true,
         3,
         {"address 0x05 on private bus 3\n", "not asked: it is on private bus 3 of"}},
        {IpmiFruDevice::kNotAsked,
         true,
         0,
         {"address 0x05 on channel 0\n", "not asked: it is on the bus of channel 0 "}},
        {IpmiFruDevice::kNoAnswer, true, -1, {"its controller does not answer"}},
        {IpmiFruDevice::kRefused, true, -1, {"refuses: completion code 0xcb, requested sensor"}},
        {IpmiFruDevice::kByWords, true, -1, {"counts in words"}},
    };
    for (const Row& row : rows) {
        IpmiFruDevice one = device("A", 5);
        one.state = row.state;
        one.completionCode = 0xcb;
        one.isLogical = row.bus < 0;
        one.bus = static_cast<std::uint8_t>(row.bus);
        one.headerChecksumOk = row.headerOk;
        const FruView fru(one);
        EXPECT_TRUE(textOf(fru, false).starts_with(one.isLogical ? "A (FRU 5)\n" : "A (0x05)\n")) << textOf(fru, false);
        for (const char* text : row.texts)
            EXPECT_THAT(textOf(fru, false), HasSubstr(text));
        EXPECT_EQ(jsonOf(fru)["error"].is_null(), std::string("no areas") == row.texts[0]);
        EXPECT_EQ(jsonOf(fru)["bus"], one.isLogical ? Json(nullptr) : Json(row.bus));
    }
    EXPECT_EQ(textOf(FruView(IpmiFruDevice()), false).rfind("FRU 0\n", 0), 0U) << "without a name";
    EXPECT_TRUE(jsonOf(FruView(IpmiFruDevice()))["entity"].is_null());
}

TEST(FruSelectionTest, ByWholeNameOrId)
{
    const FruDevices devices{device("PSU", 1), device("Node", 1), device("", 0), device("psu", 0x10), device("1", 3)};
    struct Row {
        std::optional<std::string> wanted;
        std::vector<std::size_t> found;
    };
    const Row rows[] = {{{}, {0, 1, 2, 3, 4}}, {"PSU", {0, 3}}, {"1", {0, 1, 4}}, {"0x01", {0, 1}},
                        {"16", {3}},           {"0", {2}},      {"PS", {}},       {"", {2}},
                        {"0x100", {}},         {"17", {}}};
    for (const Row& row : rows) {
        const FruSelection selection{row.wanted};
        FruDevices left = devices;
        if (row.found.empty()) {
            EXPECT_THROW(selection.apply(left), Failure) << *row.wanted;
            continue;
        }
        selection.apply(left);
        ASSERT_EQ(left.size(), row.found.size()) << row.wanted.value_or("all");
        for (std::size_t i = 0; i < left.size(); ++i)
            EXPECT_EQ(fruTitle(left[i]), fruTitle(devices[row.found[i]]));
        if (left.size() == 1)
            EXPECT_EQ(fruTitle(selection.one(devices)), fruTitle(left[0]));
        else
            EXPECT_THROW(selection.one(devices), Failure);
    }
    EXPECT_THROW(FruSelection().one({}), Failure);
}

} // namespace Tool
