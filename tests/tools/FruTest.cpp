// SPDX-License-Identifier: Apache-2.0
// FRUs as they are shown, damaged ones too, and chosen.
#include "base/Failure.h"
#include "fru/FruSelection.h"
#include "fru/FruView.h"

#include <gmock/gmock.h>
#include <numeric>

namespace Tool
{

namespace
{

using Bytes = std::vector<std::uint8_t>;
using Ipmi::IpmiFruArea;
using Ipmi::IpmiFruDevice;
using testing::HasSubstr;

/// Makes the sum of bytes from..to zero by byte `place`.
void close(Bytes& bytes, std::size_t from, std::size_t to, std::size_t place)
{
    bytes[place] = 0;
    const auto at = [&bytes](std::size_t index) { return bytes.begin() + static_cast<std::ptrdiff_t>(index); };
    bytes[place] = static_cast<std::uint8_t>(-std::accumulate(at(from), at(to), 0));
}

constexpr std::size_t kChassis = 8, kMulti = 24, kOutput = kMulti, kOem = kMulti + 18;

/// A chassis with part number "AB", a field of bytes ff 00, and no more; an output of 12 V; a maker's record.
Bytes image()
{
    Bytes bytes{1, 0, 1, 0, 0, 3, 0, 0};
    close(bytes, 0, 8, 7);
    const Bytes chassis{1, 2, 23, 0xc2, 'A', 'B', 0xc0, 0x02, 0xff, 0x00, 0xc1, 0, 0, 0, 0, 0};
    const Bytes output{0x01, 0x02, 13, 0, 0, 0x82, 0xb0, 0x04, 0xc4, 0xff, 60, 0, 120, 0, 0xf4, 1, 0x10, 0x27};
    const Bytes oem{0xc0, 0x82, 4, 0, 0, 0xd9, 0x7e, 0x00, 0x2a};
    for (const Bytes& part : {chassis, output, oem})
        bytes.insert(bytes.end(), part.begin(), part.end());
    close(bytes, kChassis, kMulti, kMulti - 1);
    close(bytes, kOutput + 5, kOem, kOutput + 3);
    close(bytes, kOutput, kOutput + 5, kOutput + 4);
    close(bytes, kOem + 5, bytes.size(), kOem + 3);
    close(bytes, kOem, kOem + 5, kOem + 4);
    return bytes;
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
    const Json json = jsonOf(fruOf(image()));
    const Json fields = json["areas"][0]["fields"], output = json["records"][0];
    const std::pair<Json, const char*> rows[] = {
        {json["entity"], R"({"id":10,"instance":1,"name":"Power Supply"})"},
        {fields[0], R"({"name":"Chassis Type","value":"Rack Mount Chassis","encoding":"code","code":23})"},
        {fields[1], R"({"name":"Chassis Part Number","value":"AB","encoding":"latin-1"})"},
        {fields[3], R"({"name":"Custom Field 1","value":"ff00","encoding":"binary"})"},
        {output["fields"][0], R"({"name":"Standby","value":true,"unit":"","encoding":"flag"})"},
        {output["fields"][3],
         R"({"name":"Maximum Negative Voltage Deviation","value":-0.6,"unit":"V","encoding":"number"})"},
        {json["multi_record"], R"({"checksum_ok":true,"whole":true,"offset":24})"},
    };
    for (const auto& [found, wanted] : rows)
        EXPECT_EQ(found.dump(), wanted);
    const std::pair<Json, const char*> keys[] = {
        {json, "id name controller lun channel entity areas records error multi_record size logical bus "},
        {json["areas"][0], "kind checksum_ok fields whole offset "},
        {output, "type name checksum_ok fields "},
    };
    for (const auto& [object, wanted] : keys) {
        std::string found;
        for (const auto& [key, value] : object.items())
            found += key + ' ';
        EXPECT_EQ(found, wanted);
    }
}

TEST(FruViewTest, DamagesAreMarked)
{
    const Bytes good = image();
    struct Row {
        const char* what;
        std::size_t changed, size; ///< the byte that has another value; size() for none
        std::vector<const char*> lines;
        bool chassisOk, chassisWhole, multiOk, multiWhole, error;
    };
    const std::size_t none = good.size(), all = good.size();
    const Row rows[] = {
        {"nothing", none, all, {}, true, true, true, true, false},
        {"a field", kChassis + 4, all, {"chassis area +checksum wrong"}, false, true, true, true, false},
        {"the chassis' size", kChassis + 1, all, {"chassis area +cut off"}, false, false, true, true, false},
        {"a record",
         kOutput + 8,
         all,
         {"multi-record area +checksum wrong", "DC Output \\(type 0x01\\) +checksum wrong", "OEM \\(type 0xc0\\)\n"},
         true,
         true,
         false,
         true,
         false},
        {"the last record",
         kOem + 8,
         all,
         {"multi-record area +checksum wrong\n", "OEM \\(type 0xc0\\) +checksum wrong\n"},
         true,
         true,
         false,
         true,
         false},
        {"no end",
         none,
         all - 1,
         {"multi-record area +checksum wrong or cut off", "OEM \\(type 0xc0\\) +checksum wrong or cut off"},
         true,
         true,
         false,
         false,
         false},
        {"one record",
         none,
         kOem,
         {"multi-record area +cut off", "DC Output \\(type 0x01\\)\n"},
         true,
         true,
         true,
         false,
         false},
        {"the header", 6, all, {"contents +the common header has a wrong checksum"}, true, true, true, true, true},
    };
    for (const Row& row : rows) {
        Bytes bytes = good;
        bytes.resize(row.size);
        if (row.changed != none)
            bytes[row.changed] = static_cast<std::uint8_t>(bytes[row.changed] + 0x40);
        const FruView fru("a file", bytes);
        const std::string text = textOf(fru, false);
        for (const char* line : row.lines)
            EXPECT_THAT(text, testing::ContainsRegex(std::string("\n +") + line)) << row.what;
        EXPECT_EQ(text.find("wrong") != std::string::npos || text.find("cut") != std::string::npos, !row.lines.empty());
        const Json json = jsonOf(fru), chassis = json["areas"][0], multi = json["multi_record"];
        EXPECT_EQ((Json{chassis["checksum_ok"], chassis["whole"], multi["checksum_ok"], multi["whole"]}),
                  (Json{row.chassisOk, row.chassisWhole, row.multiOk, row.multiWhole}))
            << row.what;
        EXPECT_EQ(!json["error"].is_null(), row.error) << row.what;
        for (const char* key : {"id", "name", "controller", "lun", "channel", "entity", "logical", "bus"})
            EXPECT_TRUE(json[key].is_null()) << key;
    }
}

TEST(FruViewTest, CutAnywhereAndOfAnyByteItIsShown)
{
    const Bytes good = image();
    for (std::size_t i = 0; i < good.size(); ++i) {
        Bytes cut(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(i)), other = good;
        other[i] = 0xff;
        for (const Bytes& bytes : {cut, other}) {
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
        bool logical, headerOk;
        std::uint8_t bus, code;
        const char *title, *trouble;
    };
    const Row rows[] = {
        {IpmiFruDevice::kRead, true, true, 0, 0, "A (FRU 5)\n", "no areas"},
        {IpmiFruDevice::kRead, true, false, 0, 0, "A (FRU 5)\n", "bad header: its checksum is wrong"},
        {IpmiFruDevice::kBadHeader, true, true, 0, 0, "A (FRU 5)\n", "bad header: its format is not known\n"},
        {IpmiFruDevice::kBadHeader, true, false, 0, 0, "A (FRU 5)\n", "not known, and its checksum is wrong"},
        {IpmiFruDevice::kNotAsked, true, true, 0, 0, "A (FRU 5)\n", "not asked: it is a memory module's own"},
        {IpmiFruDevice::kNotAsked, false, true, 3, 0, "A (0x05)\n", "address 0x05 on private bus 3\n"},
        {IpmiFruDevice::kNotAsked, false, true, 3, 0, "A (0x05)\n", "not asked: it is on private bus 3 of"},
        {IpmiFruDevice::kNotAsked, false, true, 0, 0, "A (0x05)\n", "address 0x05 on channel 0\n"},
        {IpmiFruDevice::kNoAnswer, true, true, 0, 0, "A (FRU 5)\n", "its controller does not answer"},
        {IpmiFruDevice::kRefused, true, true, 0, 0xcb, "A (FRU 5)\n",
         "refuses: completion code 0xcb, requested sensor"},
        {IpmiFruDevice::kByWords, true, true, 0, 0, "A (FRU 5)\n", "counts in words"},
    };
    for (const Row& row : rows) {
        IpmiFruDevice one = device("A", 5);
        one.state = row.state;
        one.completionCode = row.code;
        one.isLogical = row.logical;
        one.bus = row.bus;
        one.headerChecksumOk = row.headerOk;
        const FruView fru(one);
        EXPECT_EQ(textOf(fru, false).rfind(row.title, 0), 0U) << textOf(fru, false);
        EXPECT_THAT(textOf(fru, false), HasSubstr(row.trouble));
        EXPECT_EQ(jsonOf(fru)["error"].is_null(), std::string("no areas") == row.trouble);
        EXPECT_EQ(jsonOf(fru)["bus"], row.logical ? Json(nullptr) : Json(row.bus));
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
        std::vector<std::string> titles;
        for (const std::size_t index : row.found)
            titles.push_back(fruTitle(devices[index]));
        ASSERT_EQ(left.size(), titles.size()) << row.wanted.value_or("all");
        for (std::size_t i = 0; i < left.size(); ++i)
            EXPECT_EQ(fruTitle(left[i]), titles[i]);
        if (left.size() == 1)
            EXPECT_EQ(fruTitle(selection.one(devices)), titles[0]);
        else
            EXPECT_THROW(selection.one(devices), Failure);
    }
    EXPECT_THROW(FruSelection().one({}), Failure);
}

} // namespace Tool
