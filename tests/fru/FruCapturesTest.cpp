// SPDX-License-Identifier: Apache-2.0
// Images of real servers, and of a FRU tool, against what FreeIPMI says of them, in the folder that TRX_CAPTURES names.
#include "FruSamples.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>

namespace
{

using namespace FruTest;
using namespace Ipmi;
namespace fs = std::filesystem;

/// A field of ours in FreeIPMI's words: its label, and of numbers the factor to its unit and how it writes that.
struct Label {
    const char* text;
    double factor = 1;
    const char* unit = "";
};

/// Names that several kinds of areas and records have stand behind the kind's.
const std::map<std::string, Label> kLabels = {
    {"Chassis Type", {"Chassis Type"}},
    {"Chassis Part Number", {"Chassis Part Number"}},
    {"Chassis Serial Number", {"Chassis Serial Number"}},
    {"Mfg. Date / Time", {"Board Manufacturing Date/Time"}},
    {"Board Manufacturer", {"Board Manufacturer"}},
    {"Board Product Name", {"Board Product Name"}},
    {"Board Serial Number", {"Board Serial Number"}},
    {"Board Part Number", {"Board Part Number"}},
    {"FRU File ID", {"FRU File ID"}},
    {"Manufacturer Name", {"Product Manufacturer Name"}},
    {"Product Name", {"Product Name"}},
    {"Product Part/Model Number", {"Product Part/Model Number"}},
    {"Product Version", {"Product Version"}},
    {"Product Serial Number", {"Product Serial Number"}},
    {"Asset Tag", {"Product Asset Tag"}},
    {"Overall Capacity", {"Power Supply Overall Capacity", 1, " Watts"}},
    {"Peak VA", {"Power Supply Peak VA", 1, " VA"}},
    {"Inrush Current", {"Power Supply Max Inrush Current", 1, " Amps"}},
    {"Inrush Interval", {"Power Supply Inrush Interval", 1, " ms"}},
    {"Low End Input Voltage Range 1", {"Power Supply Low End Input Voltage 1", 1000, " mV"}},
    {"High End Input Voltage Range 1", {"Power Supply High End Input Voltage 1", 1000, " mV"}},
    {"Low End Input Voltage Range 2", {"Power Supply Low End Input Voltage 2", 1000, " mV"}},
    {"High End Input Voltage Range 2", {"Power Supply High End Input Voltage 2", 1000, " mV"}},
    {"Low End Input Frequency Range", {"Power Supply Low End Acceptable Frequency", 1, " Hz"}},
    {"High End Input Frequency Range", {"Power Supply High End Acceptable Frequency", 1, " Hz"}},
    {"A/C Dropout Tolerance", {"Power Supply A/C Dropout Tolerance", 1, " ms"}},
    {"Predictive Fail Support", {"Power Supply Predictive Fail Support"}},
    {"Power Factor Correction", {"Power Supply Power Factor Correction Supported"}},
    {"Autoswitch", {"Power Supply AutoSwitch Supprt"}},
    {"Hot Swap Support", {"Power Supply Hot Swap Support"}},
    {"Peak Capacity", {"Power Supply Peak Capacity", 1, " Watts"}},
    {"Hold-up Time", {"Power Supply Hold Up Time", 1, " s"}},
    {"Combined Wattage Voltage 1", {"Power Supply Voltage 1", 1, "V"}},
    {"Combined Wattage Voltage 2", {"Power Supply Voltage 2", 1, "V"}},
    {"Total Combined Wattage", {"Power Supply Total Combined Wattage", 1, " Watts"}},
    {"Output Number", {"DC Output Output Number", 1, ""}},
    {"Standby", {"DC Output Output on Standy"}},
    {"Nominal Voltage", {"DC Output Nominal Voltage", 1000, " mV"}},
    {"Maximum Negative Voltage Deviation", {"DC Output Maximum Negative Voltage Deviation", 1000, " mV"}},
    {"Maximum Positive Voltage Deviation", {"DC Output Maximum Positive Voltage Deviation", 1000, " mV"}},
    {"Ripple and Noise pk-pk", {"DC Output Ripple and Noise pk-pk", 1000, " mV"}},
    {"Minimum Current Draw", {"DC Output Minimum Current Draw", 1000, " mA"}},
    {"Maximum Current Draw", {"DC Output Maximum Current Draw", 1000, " mA"}},
};

/// What FreeIPMI does not say, and why. "*" is every image.
struct Difference {
    const char *image, *line, *reason;
};
const Difference kOnlyOurs[] = {
    {"*", "Language Code", "it does not show languages"},
    {"*", "Internal Use Area", "it does not show internal use areas"},
    {"*", "Predictive Fail Tachometer Lower Threshold", "it shows it only with predictive fail support"},
    {"dell_r730/fru-01", "(multi-record)", "it drops an area whose checksum is wrong"},
    {"dell_r730/fru-02", "(multi-record)", "it drops an area whose checksum is wrong"},
    {"s2600kp/fru-03", "(product)", "it drops an image whose header is damaged; the area itself is not"},
    {"s2600kp/fru-03", "(multi-record)", "it drops an image whose header is damaged; the area itself is not"},
};

std::string trimRight(std::string text)
{
    return text.erase(text.find_last_not_of(" \r") + 1);
}

/// 2016-02-23T16:18:00Z as 02/23/16 - 16:18:00.
std::string itsDate(const std::string& iso)
{
    return iso.substr(5, 2) + '/' + iso.substr(8, 2) + '/' + iso.substr(2, 2) + " - " + iso.substr(11, 8);
}

std::string inItsWords(const IpmiFruField& field, const Label& label)
{
    if (field.encoding == IpmiFruField::kTime)
        return itsDate(field.value);
    if (field.encoding == IpmiFruField::kFlag)
        return field.value == "yes" ? "Yes" : "No";
    if (field.encoding == IpmiFruField::kNumber)
        return std::to_string(std::lround(field.number.value_or(0) * label.factor)) + label.unit;
    if (field.encoding == IpmiFruField::kBcdPlus) // it writes these without zeros in front
        return field.value.substr(field.value.find_first_not_of('0'));
    return field.value;
}

bool isKnownDifference(const std::string& image, const std::string& what)
{
    return std::ranges::any_of(kOnlyOurs, [&](const Difference& row) {
        return (row.image == std::string("*") || row.image == image) && row.line == what;
    });
}

/// A line as FreeIPMI writes it; empty for what it does not show.
std::string itsLine(const std::string& image, const IpmiFruArea& area, const IpmiFruField& field)
{
    const std::string kind = kindName(area.kind);
    if (field.value.empty() || isKnownDifference(image, field.name) || isKnownDifference(image, '(' + kind + ')'))
        return {};
    if (field.name.starts_with("Custom Field"))
        return std::string(1, static_cast<char>(std::toupper(kind[0]))) + kind.substr(1) +
               " Custom Info: " + field.value;
    const auto label = kLabels.find(field.name);
    return label == kLabels.end() ? "no label: " + field.name
                                  : std::string(label->second.text) + ": " + inItsWords(field, label->second);
}

/// What we say, in FreeIPMI's words.
std::multiset<std::string> ours(const std::string& image, const Bytes& bytes)
{
    std::string error;
    std::multiset<std::string> lines;
    for (const IpmiFruArea& area : decodeFru(bytes.data(), bytes.size(), &error)) {
        for (const IpmiFruField& field : area.contents->fields())
            if (std::string line = itsLine(image, area, field); !line.empty())
                lines.insert(std::move(line));
        if (!area.checksumOk)
            lines.insert(area.kind == IpmiFruArea::kMulti ? "Error: multirecord area checksum invalid"
                                                          : "Error: checksum");
    }
    if (error.find("checksum") != std::string::npos)
        lines.insert("Error: common header checksum invalid");
    return lines;
}

std::multiset<std::string> theirs(const fs::path& file)
{
    const std::string indent = "  FRU ";
    std::multiset<std::string> lines;
    std::ifstream in(file);
    for (std::string line; std::getline(in, line);) {
        line = trimRight(line);
        if (line.starts_with(indent) && !line.ends_with(':')) // empty fields: we have them, it has some of them
            lines.insert(line.substr(indent.size()));
    }
    return lines;
}

std::string nameOf(const fs::path& file)
{
    return (file.parent_path().filename() / file.stem()).string();
}

Bytes contentsOf(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<fs::path> images()
{
    std::vector<fs::path> files;
    if (const char* folder = std::getenv("TRX_CAPTURES"); folder != nullptr && *folder != '\0')
        for (const auto& entry : fs::recursive_directory_iterator(folder)) {
            const fs::path& path = entry.path();
            const bool isFru = path.filename().string().starts_with("fru-") || path.parent_path().filename() == "fru";
            if (path.extension() == ".bin" && isFru)
                files.push_back(path);
        }
    return files;
}

TEST(FruCaptures, DecodeToWhatIsExpectedOfThem)
{
    const auto files = images();
    if (files.empty())
        GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
    for (const fs::path& file : files) {
        fs::path expected = file;
        expected.replace_extension(".ipmi-fru.txt");
        ASSERT_TRUE(fs::exists(expected)) << expected;
        EXPECT_EQ(ours(nameOf(file), contentsOf(file)), theirs(expected)) << file;
    }
}

/// What FreeIPMI shows nothing of.
TEST(FruCaptures, FactsOfSomeImages)
{
    const struct {
        const char *image, *line;
    } rows[] = {
        {"fru/basic-internal", "Internal Use Area: 01"
                               "696e746572616c2d64617461"}, // "interal-data": so the image has it
        {"fru/basic-all", "Internal Use Area: 01"
                          "64617461313233"}, // "data123"
        {"dell_r730/fru-01", "Overall Capacity: 750 W"},
        {"dell_r730/fru-01", "High End Input Voltage Range 1: 264 V"},
        {"s2600kp/fru-03", "Product Serial Number: PSSF162202ACNS1622A4SE250505"},
        {"s2600kp/fru-03", "Maximum Current Draw: 3.5 A"},
    };
    const auto files = images();
    for (const auto& row : rows) {
        const auto file = std::ranges::find(files, row.image, nameOf);
        if (file == files.end())
            GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
        Texts all;
        const Bytes bytes = contentsOf(*file);
        for (const auto& area : decodeFru(bytes.data(), bytes.size(), nullptr))
            for (const std::string& line : lines(area.contents->fields()))
                all.push_back(line);
        EXPECT_THAT(all, testing::Contains(testing::StartsWith(row.line))) << row.image;
    }
}

} // namespace
