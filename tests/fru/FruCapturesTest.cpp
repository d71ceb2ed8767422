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

/// Where FreeIPMI's label is not ours behind the name of the area or record: what stands in its place.
const std::pair<std::string, const char*> kRenamed[] = {
    {"Mfg. Date / Time", "Board Manufacturing Date/Time"},
    {"Manufacturer Name", "Product Manufacturer Name"},
    {"Asset Tag", "Product Asset Tag"},
    {"Inrush Current", "Max Inrush Current"},
    {"Voltage Range", "Voltage"},
    {"Input Frequency Range", "Acceptable Frequency"},
    {"Factor Correction", "Factor Correction Supported"},
    {"Autoswitch", "AutoSwitch Supprt"},
    {"Hold-up", "Hold Up"},
    {"Combined Wattage Voltage", "Voltage"},
    {"Standby", "Output on Standy"},
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

/// Volts in thousandths, those of outputs that supplies limit together excepted, and so the Amperes of outputs.
std::string itsNumber(const IpmiFruField& field, bool isOutput)
{
    if (field.name.starts_with("Combined"))
        return field.value + field.unit;
    const bool milli = field.unit == "V" || (field.unit == "A" && isOutput);
    const std::string number = std::to_string(std::lround(field.number.value_or(0) * (milli ? 1000 : 1)));
    return field.unit.empty() ? number
                              : number + (milli ? " m" : " ") +
                                    (field.unit == "W"             ? "Watts"
                                     : field.unit == "A" && !milli ? "Amps"
                                                                   : field.unit);
}

std::string itsValue(const IpmiFruField& field, bool isOutput)
{
    if (field.encoding == IpmiFruField::kTime)
        return itsDate(field.value);
    if (field.encoding == IpmiFruField::kFlag)
        return field.value == "yes" ? "Yes" : "No";
    if (field.encoding == IpmiFruField::kBcdPlus) // it writes these without zeros in front
        return field.value.substr(field.value.find_first_not_of('0'));
    return field.encoding == IpmiFruField::kNumber ? itsNumber(field, isOutput) : field.value;
}

bool isKnownDifference(const std::string& image, const std::string& what)
{
    return std::ranges::any_of(kOnlyOurs, [&](const Difference& row) {
        return (row.image == std::string("*") || row.image == image) && row.line == what;
    });
}

/// Adds the lines that FreeIPMI writes for these fields.
void addLines(std::multiset<std::string>& lines, const std::string& image, const IpmiFruArea& area,
              const std::vector<IpmiFruField>& fields, const std::string& record = {})
{
    const std::string kind = kindName(area.kind);
    for (const IpmiFruField& field : fields) {
        if (field.value.empty() || isKnownDifference(image, field.name) || isKnownDifference(image, '(' + kind + ')'))
            continue;
        std::string label = record + field.name;
        for (const auto& [ours, its] : kRenamed)
            if (const std::size_t place = label.find(ours); place != std::string::npos)
                label.replace(place, ours.size(), its);
        if (field.name.starts_with("Custom Field"))
            label = std::string(1, static_cast<char>(std::toupper(kind[0]))) + kind.substr(1) + " Custom Info";
        lines.insert(label + ": " + itsValue(field, record == "DC Output "));
    }
}

/// What we say, in FreeIPMI's words.
std::multiset<std::string> ours(const std::string& image, const Bytes& bytes)
{
    std::string error;
    std::multiset<std::string> lines;
    for (const IpmiFruArea& area : decodeFru(bytes.data(), bytes.size(), &error)) {
        const auto* multi = dynamic_cast<const IpmiFruMulti*>(area.contents.get());
        if (!multi)
            addLines(lines, image, area, area.contents->fields());
        else
            for (const IpmiFruRecord& record : multi->records())
                addLines(lines, image, area, record.fields, record.type == 0 ? "Power Supply " : "DC Output ");
        if (!area.checksumOk)
            lines.insert(multi ? "Error: multirecord area checksum invalid" : "Error: checksum");
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

Bytes contentsOf(const fs::path& file)
{
    std::ifstream in(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST(FruCaptures, DecodeToWhatIsExpectedOfThem)
{
    const char* folder = std::getenv("TRX_CAPTURES");
    if (folder == nullptr || *folder == '\0')
        GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
    int count = 0;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        fs::path file = entry.path();
        if (file.extension() != ".bin" ||
            !(file.filename().string().starts_with("fru-") || file.parent_path().filename() == "fru"))
            continue;
        const auto said = ours((file.parent_path().filename() / file.stem()).string(), contentsOf(file));
        EXPECT_EQ(said, theirs(file.replace_extension(".ipmi-fru.txt"))) << file;
        ++count;
    }
    EXPECT_GT(count, 0);
}

} // namespace
