// SPDX-License-Identifier: Apache-2.0
// Areas, records and images as the FRU standard reads them, damaged ones too.
#include "FruSamples.h"

#include <gmock/gmock.h>

namespace
{

using namespace FruTest;
using namespace Ipmi;
using namespace std::string_literals;
using testing::ElementsAre;

TEST(FruFields, EveryAreaInOrder)
{
    EXPECT_THAT(lines(areaOf<IpmiFruBoard>(kBoard).fields()),
                ElementsAre("Language Code: en (code)", "Mfg. Date / Time: 2010-05-17T08:30:00Z (time)",
                            "Board Manufacturer: ACME (latin-1)", "Board Product Name: IPMI (6-bit)",
                            "Board Serial Number: SN7 (latin-1)", "Board Part Number: PN8 (latin-1)",
                            "FRU File ID: F1 (latin-1)", "Custom Field 1: more (latin-1)"));
    EXPECT_THAT(lines(areaOf<IpmiFruChassis>(kChassis).fields()),
                ElementsAre("Chassis Type: Rack Mount Chassis (code)", "Chassis Part Number: AB\u00c2 (latin-1)",
                            "Chassis Serial Number: SN1 (latin-1)", "Custom Field 1: 123 (bcd-plus)"));
    EXPECT_THAT(lines(areaOf<IpmiFruProduct>(kProduct).fields()),
                ElementsAre("Language Code: en (code)", "Manufacturer Name: ACME (latin-1)",
                            "Product Name: Box (latin-1)", "Product Part/Model Number: M1 (latin-1)",
                            "Product Version: v\u00c2 (latin-1)", "Product Serial Number: SN1 (latin-1)",
                            "Asset Tag: tag (latin-1)", "FRU File ID:  (latin-1)", "Custom Field 1: 01ff (binary)"));
    EXPECT_THAT(lines(areaOf<IpmiFruInternal>({1, 0xab}).fields()), ElementsAre("Internal Use Area: 01ab (binary)"));
    EXPECT_THAT(IpmiFruInternal().fields(), testing::IsEmpty());
}

TEST(FruFields, EveryEncodingAndLanguage)
{
    const struct {
        std::uint8_t language;
        Bytes field;
        const char* line; // of a manufacturer
    } rows[] = {
        {0, latin("\xb0 C \x1b "), "\u00b0 C ? (latin-1)"},
        {25, latin("Caf\xe9\0\0"s), "Caf\u00e9 (latin-1)"},
        {25, latin(""), " (latin-1)"},
        {1, latin("A\0\xac\x20"s), "A\u20ac (unicode)"},
        {136, latin("\x3d\xd8\0\xde\x42"s), "\U0001f600 (unicode)"},
        {137, field(0x80, "\x29\xdc\xa6"), "IPMI (6-bit)"},
        {0, field(0x40, "\x01\x23\xab\xc9"), "0123 -.9 (bcd-plus)"},
        {0, field(0x00, "\x00\xfe"s), "00fe (binary)"},
    };
    for (const auto& row : rows) {
        const auto fields = areaOf<IpmiFruProduct>(info({row.language}, {row.field})).fields();
        ASSERT_EQ(fields.size(), 2u);
        EXPECT_EQ(lines(fields)[1], "Manufacturer Name: "s + row.line);
        const char* code = row.language == 1 ? "aa" : row.language == 136 ? "zu" : row.language == 137 ? "0x89" : "en";
        EXPECT_EQ(fields[0].value, code);
        EXPECT_EQ(fields[0].number, row.language);
    }
    // A serial number is English in any language, and so are chassis.
    const auto board =
        areaOf<IpmiFruBoard>(info({1, 0, 0, 0}, {latin("A\0"s), latin("B\0"s), latin("CD"), latin("E\0"s)}));
    EXPECT_THAT(lines(board.fields()),
                ElementsAre("Language Code: aa (code)", "Board Manufacturer: A (unicode)",
                            "Board Product Name: B (unicode)", "Board Serial Number: CD (latin-1)",
                            "Board Part Number: E (unicode)"));
}

TEST(FruFields, OfDamagedAreas)
{
    const auto chassis = [](const Bytes& bytes) { return lines(areaOf<IpmiFruChassis>(bytes).fields()); };
    Bytes bytes = info({38}, {latin("PN"), latin("SN")});
    const std::string type = "Chassis Type: 0x26 (code)", part = "Chassis Part Number: PN (latin-1)";
    bytes[6] = 0xff;
    EXPECT_THAT(chassis(bytes),
                ElementsAre(type, part, "Chassis Serial Number: SN\u00c1 (latin-1)")); // but its checksum
    EXPECT_THAT(chassis({bytes.begin(), bytes.begin() + 8}),
                ElementsAre(type, part, "Chassis Serial Number: S (latin-1)"));
    bytes[1] = 1;
    EXPECT_THAT(chassis(bytes), ElementsAre(type, part, "Chassis Serial Number:  (latin-1)")); // as it says itself
    bytes[0] = 2;
    EXPECT_THAT(chassis({bytes.begin(), bytes.begin() + 3}), ElementsAre("Data: 020126 (binary)"));
    EXPECT_THAT(chassis({}), testing::IsEmpty());
}

const Texts kSupplyLines{"Overall Capacity: 750 W (number)",
                         "Peak VA: 900 VA (number)",
                         "Inrush Current: 25 A (number)",
                         "Inrush Interval: 10 ms (number)",
                         "Low End Input Voltage Range 1: 90 V (number)",
                         "High End Input Voltage Range 1: 264 V (number)",
                         "Low End Input Voltage Range 2: 100 V (number)",
                         "High End Input Voltage Range 2: 120 V (number)",
                         "Low End Input Frequency Range: 47 Hz (number)",
                         "High End Input Frequency Range: 63 Hz (number)",
                         "A/C Dropout Tolerance: 12 ms (number)",
                         "Hot Swap Support: yes (flag)",
                         "Autoswitch: no (flag)",
                         "Power Factor Correction: no (flag)",
                         "Predictive Fail Support: no (flag)",
                         "Hold-up Time: 10 s (number)",
                         "Peak Capacity: 2100 W (number)",
                         "Combined Wattage Voltage 1: 5 V (number)",
                         "Combined Wattage Voltage 2: -12 V (number)",
                         "Total Combined Wattage: 1600 W (number)",
                         "Predictive Fail Tachometer Lower Threshold: 20 RPS (number)"};

TEST(FruRecords, OfEveryTypeInPhysicalUnits)
{
    const Texts output{"Standby: yes (flag)",
                       "Output Number: 1 (number)",
                       "Nominal Voltage: -5 V (number)",
                       "Maximum Negative Voltage Deviation: -10 V (number)",
                       "Maximum Positive Voltage Deviation: -0.01 V (number)",
                       "Ripple and Noise pk-pk: 0.12 V (number)",
                       "Minimum Current Draw: 0.01 A (number)",
                       "Maximum Current Draw: 33.5 A (number)"};
    const Texts load{"Output Number: 1 (number)",
                     "Nominal Voltage: -5 V (number)",
                     "Specified Minimum Voltage: -10 V (number)",
                     "Specified Maximum Voltage: -0.01 V (number)",
                     "Specified Ripple and Noise pk-pk: 0.12 V (number)",
                     "Minimum Current Load: 0.01 A (number)",
                     "Maximum Current Load: 33.5 A (number)"};
    const Texts compatibility{"Manufacturer ID: Intel Corporation (code)", "Entity ID Code: Power Supply (code)",
                              "Compatibility Base: 2 (number)", "Compatibility Code Start Value: 3 (number)",
                              "Code Range Mask: ff01 (binary)"};
    const Bytes compatible{0x57, 0x01, 0x00, 0x0a, 0x02, 0x83, 0xff, 0x01};
    Bytes longer = kDc;
    longer.push_back(0xee);
    Texts more = load;
    more.push_back("Data: ee (binary)");
    const struct {
        std::uint8_t type;
        Bytes data;
        const char* name;
        Texts lines;
    } rows[] = {
        {0x00, kSupply, "Power Supply Information", kSupplyLines},
        {0x01, kDc, "DC Output", output},
        {0x02, kDc, "DC Load", load},
        {0x02, longer, "DC Load", more},
        {0x03, {1, 'u', 0xe9}, "Management Access Record", {"System Management URL: u\u00e9 (latin-1)"}},
        {0x03, {7, 0xab, 0x01}, "Management Access Record", {"System Unique ID: ab01 (binary)"}},
        {0x03, {8, 0xab}, "Management Access Record", {"Sub-Record Type: 0x08 (code)", "Data: ab (binary)"}},
        {0x04, compatible, "Base Compatibility Record", compatibility},
        {0x05, compatible, "Extended Compatibility Record", compatibility},
        {0x09, {0xab}, "Extended DC Output", {"Data: ab (binary)"}},
        {0xbf, {0xab}, "Reserved", {"Data: ab (binary)"}},
        {0xc0, kOem, "OEM", {"Manufacturer ID: Intel Corporation (code)", "Data: abcd (binary)"}},
        {0xff, {0xff, 0xff, 0xff}, "OEM", {"Manufacturer ID: 16777215 (code)"}},
        {0xff, {0xff, 0xff}, "OEM", {"Data: ffff (binary)"}},
    };
    std::vector<Bytes> all;
    for (const auto& row : rows)
        all.push_back(record(row.type, row.data, &row == std::end(rows) - 1));
    const auto area = areaOf<IpmiFruMulti>(joined(all));
    const auto records = area.records();
    ASSERT_EQ(records.size(), std::size(rows));
    Texts together;
    for (std::size_t i = 0; i < records.size(); ++i) {
        EXPECT_EQ(std::pair(records[i].type, records[i].name), std::pair(rows[i].type, std::string(rows[i].name)));
        EXPECT_TRUE(records[i].checksumOk);
        EXPECT_EQ(lines(records[i].fields), rows[i].lines);
        together.insert(together.end(), rows[i].lines.begin(), rows[i].lines.end());
    }
    EXPECT_EQ(lines(area.fields()), together);
}

TEST(FruRecords, DamagedOnesAreMarkedAndShown)
{
    const struct {
        std::size_t place; // of the byte that is wrong, in the first of two records
        std::size_t records;
    } rows[] = {{1, 1}, {4, 1}, {3, 1}, {5, 2}, {17, 2}}; // a wrong header is the last one
    for (const auto& row : rows) {
        Bytes bytes = joined({record(1, kDc), record(2, kDc, true)});
        bytes[row.place] ^= 0x04;
        const auto records = areaOf<IpmiFruMulti>(bytes).records();
        ASSERT_EQ(records.size(), row.records) << row.place;
        EXPECT_FALSE(records[0].checksumOk) << row.place;
        EXPECT_EQ(records[0].fields.size(), 8u);
        EXPECT_TRUE(row.records == 1 || records[1].checksumOk);
    }
}

TEST(FruRecords, SupplyValuesThatAreUnspecifiedOrDependOnOthers)
{
    const struct {
        std::vector<std::pair<std::size_t, std::uint8_t>> patch;
        Texts gone, come;
    } rows[] = {
        {{{2, 0xff}, {3, 0xff}}, {kSupplyLines[1]}, {}},
        {{{4, 0xff}}, {kSupplyLines[2]}, {}},
        {{{10, 0}, {11, 0}, {12, 0}, {13, 0}}, {kSupplyLines[6], kSupplyLines[7]}, {}},
        {{{14, 0}, {15, 0}}, {kSupplyLines[8], kSupplyLines[9]}, {}}, // direct current
        {{{18, 0xff}, {19, 0xff}}, {kSupplyLines[15], kSupplyLines[16]}, {}},
        {{{21, 0}, {22, 0}}, {kSupplyLines[17], kSupplyLines[18], kSupplyLines[19]}, {}},
        {{{20, 0x3f}},
         {kSupplyLines[17], kSupplyLines[18]},
         {"Combined Wattage Voltage 1: 3.3 V (number)", "Combined Wattage Voltage 2: 0x0f (code)"}},
        {{{17, 0x1f}, {23, 1}},
         {kSupplyLines[12], kSupplyLines[13], kSupplyLines[14], kSupplyLines[20]},
         {"Tachometer Pulses per Rotation: 2 (number)", "Autoswitch: yes (flag)", "Power Factor Correction: yes (flag)",
          "Predictive Fail Support: yes (flag)", "Predictive Fail Tachometer Lower Threshold: 1 RPS (number)"}},
        {{{17, 0x09}, {23, 0}},
         {kSupplyLines[14], kSupplyLines[20]},
         {"Predictive Fail Polarity: asserted on failure (code)", "Predictive Fail Support: yes (flag)"}},
    };
    for (const auto& row : rows) {
        Bytes data = kSupply;
        for (const auto& [place, value] : row.patch)
            data[place] = value;
        Texts expected = row.come;
        for (const auto& line : kSupplyLines)
            if (std::ranges::find(row.gone, line) == row.gone.end())
                expected.push_back(line);
        EXPECT_THAT(lines(areaOf<IpmiFruMulti>(record(0, data, true)).fields()),
                    testing::UnorderedElementsAreArray(expected));
    }
}

/// Chassis at 16, internal use area at 8.
Bytes image(const Bytes& chassis, const Bytes& records, std::uint8_t version = 1)
{
    Bytes header{version, 1, 2, 0, 0, static_cast<std::uint8_t>(2 + chassis.size() / 8), 0};
    header.push_back(checksum(header));
    return joined({header, {1, 2, 3, 4, 5, 6, 7, 8}, chassis, records});
}

/// "kind@offset", with "!" for a wrong checksum and "<" for one that is not whole, and its number of bytes.
std::string shown(const std::vector<IpmiFruArea>& areas)
{
    std::string text;
    for (const auto& area : areas)
        text += std::string(kindName(area.kind)) + '@' + std::to_string(area.offset) + (area.checksumOk ? "" : "!") +
                (area.whole ? "" : "<") + ' ' + std::to_string(area.contents->length()) + ' ';
    return text;
}

TEST(DecodeFru, MarksWhatIsDamaged)
{
    const Bytes chassis = info({1}, {latin("PN")}), records = joined({record(1, kDc), record(2, kDc, true)});
    const Bytes good = image(chassis, records), open = image(chassis, record(1, kDc)),
                rest = image(chassis, joined({records, Bytes(3, 0xff)})),
                zero = image(chassis, joined({record(2, {}), records}));
    using Patch = std::vector<std::pair<std::size_t, std::uint8_t>>;
    const std::string start = "internal@8 8 chassis@16 8 ", wrongSum = "the common header has a wrong checksum";
    const struct {
        Bytes image;
        Patch patch;
        std::size_t size; // 0: all
        std::string areas, error;
    } rows[] = {
        {good, {}, 0, start + "multi-record@24 36 ", ""},
        {rest, {}, 0, start + "multi-record@24 36 ", ""},
        {open, {}, 0, start + "multi-record@24< 18 ", ""},
        {zero, {}, 0, start + "multi-record@24< 5 ", ""},
        {good, {{18, 2}}, 0, "internal@8 8 chassis@16! 8 multi-record@24 36 ", ""},
        {good, {{17, 0}}, 0, "internal@8 8 chassis@16!< 0 multi-record@24 36 ", ""},
        {good, {{17, 9}}, 0, "internal@8 8 chassis@16!< 44 multi-record@24 36 ", ""},
        {good, {{30, 1}}, 0, start + "multi-record@24! 36 ", ""},
        {good, {{27, 1}}, 0, start + "multi-record@24!< 18 ", ""}, // whose length nobody knows
        {good, {}, 50, start + "multi-record@24!< 26 ", ""},
        {good, {}, 44, start + "multi-record@24< 18 ", ""}, // not even a header
        {good, {}, 27, start + "multi-record@24!< 0 ", ""},
        {good, {}, 19, "internal@8 8 chassis@16!< 3 multi-record@24!< 0 ", ""},
        {good, {}, 12, "internal@8 4 chassis@16!< 0 multi-record@24!< 0 ", ""},
        {good, {}, 8, "internal@8< 0 chassis@16!< 0 multi-record@24!< 0 ", ""},
        {good, {}, 7, "", "too short for a common header: 7 bytes"},
        {good, {{7, 0}}, 0, start + "multi-record@24 36 ", wrongSum},
        {image(chassis, records, 2),
         {},
         0,
         start + "multi-record@24 36 ",
         "unknown format version 0x02 of the common header"},
        {good,
         {{0, 0xf0}, {18, 2}},
         0,
         "multi-record@24 36 ",
         "unknown format version 0xf0 of the common header, whose checksum is wrong too"},
    };
    for (const auto& row : rows) {
        Bytes bytes = row.image;
        for (const auto& [place, value] : row.patch)
            bytes[place] = value;
        const Bytes given(bytes.begin(),
                          bytes.begin() + static_cast<std::ptrdiff_t>(row.size ? row.size : bytes.size()));
        std::string error = "old";
        EXPECT_EQ(shown(decodeFru(given.data(), given.size(), &error)), row.areas) << row.size << ' ' << row.error;
        EXPECT_EQ(error, row.error);
    }
    EXPECT_TRUE(decodeFru(nullptr, 100, nullptr).empty());
}

TEST(DecodeFru, AnyByteMayBeAnything)
{
    const Bytes good = image(kChassis, kRecords);
    for (std::size_t place = 0; place < good.size(); ++place)
        for (const unsigned int value : {0x00U, 0x01U, 0x05U, 0x7fU, 0x80U, 0xc1U, 0xffU}) {
            Bytes bytes = good;
            bytes[place] = static_cast<std::uint8_t>(value);
            for (const auto& area : decodeFru(bytes.data(), bytes.size(), nullptr)) {
                EXPECT_LE(area.contents->length(), bytes.size());
                EXPECT_LE(area.contents->fields().size(), bytes.size());
            }
        }
}

} // namespace
