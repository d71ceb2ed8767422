// SPDX-License-Identifier: Apache-2.0
// FRU Information Storage Definition, section 18: what each type of records holds.
#include "fru/FruRecords.h"

#include "ipmi/IpmiEntity.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <iterator>

namespace Ipmi
{

using namespace wire;

namespace
{

using Fields = std::vector<IpmiFruField>;

/// A number in a record: bits `high` to `low` of `size` bytes.
struct NumberRow {
    const char* name;
    std::uint8_t place, size, high, low;
    int divisor; ///< of the unit: the number is in as many parts of it
    const char* unit;
    int unspecified = -1; ///< what the bytes are as a whole where nothing is said; -1: nothing is that
    bool isSigned = false;
};

constexpr NumberRow byteRow(const char* name, std::uint8_t place, int divisor, const char* unit, int unspecified = -1)
{
    return {name, place, 1, 7, 0, divisor, unit, unspecified};
}

constexpr NumberRow wordRow(const char* name, std::uint8_t place, int divisor, const char* unit, int unspecified = -1)
{
    return {name, place, 2, 15, 0, divisor, unit, unspecified};
}

constexpr NumberRow signedRow(const char* name, std::uint8_t place, int divisor, const char* unit)
{
    return {name, place, 2, 15, 0, divisor, unit, -1, true};
}

constexpr int kTenMillivolts = 100, kMilli = 1000, kWhole = 1;

constexpr NumberRow kSupplyNumbers[] = {
    {"Overall Capacity", fru::supply::kCapacity, 2, 11, 0, kWhole, "W"},
    wordRow("Peak VA", fru::supply::kPeakVa, kWhole, "VA", 0xffff),
    byteRow("Inrush Current", fru::supply::kInrushCurrent, kWhole, "A", 0xff),
    byteRow("Inrush Interval", fru::supply::kInrushInterval, kWhole, "ms"),
    wordRow("Low End Input Voltage Range 1", fru::supply::kLowVoltage1, kTenMillivolts, "V"),
    wordRow("High End Input Voltage Range 1", fru::supply::kHighVoltage1, kTenMillivolts, "V"),
    wordRow("Low End Input Voltage Range 2", fru::supply::kLowVoltage2, kTenMillivolts, "V", 0),
    wordRow("High End Input Voltage Range 2", fru::supply::kHighVoltage2, kTenMillivolts, "V", 0),
    byteRow("Low End Input Frequency Range", fru::supply::kLowFrequency, kWhole, "Hz", 0), // 0: direct current
    byteRow("High End Input Frequency Range", fru::supply::kHighFrequency, kWhole, "Hz", 0),
    byteRow("A/C Dropout Tolerance", fru::supply::kDropout, kWhole, "ms"),
};

constexpr NumberRow kSupplyPeak[] = {
    {"Hold-up Time", fru::supply::kPeak, 2, 15, 12, kWhole, "s", 0xffff},
    {"Peak Capacity", fru::supply::kPeak, 2, 11, 0, kWhole, "W", 0xffff},
};

constexpr NumberRow kCombinedWattage[] = {
    wordRow("Total Combined Wattage", fru::supply::kCombinedWattage, kWhole, "W", 0),
};

constexpr NumberRow kTachometerThreshold[] = {
    byteRow("Predictive Fail Tachometer Lower Threshold", fru::supply::kTachometer, kWhole, "RPS", 0),
};

constexpr NumberRow kOutputNumbers[] = {
    {"Output Number", fru::dc::kOutput, 1, 3, 0, kWhole, ""},
    signedRow("Nominal Voltage", fru::dc::kNominal, kTenMillivolts, "V"),
    signedRow("Maximum Negative Voltage Deviation", fru::dc::kLowVoltage, kTenMillivolts, "V"),
    signedRow("Maximum Positive Voltage Deviation", fru::dc::kHighVoltage, kTenMillivolts, "V"),
    wordRow("Ripple and Noise pk-pk", fru::dc::kRipple, kMilli, "V"),
    wordRow("Minimum Current Draw", fru::dc::kLowCurrent, kMilli, "A"),
    wordRow("Maximum Current Draw", fru::dc::kHighCurrent, kMilli, "A"),
};

constexpr NumberRow kLoadNumbers[] = {
    {"Output Number", fru::dc::kOutput, 1, 3, 0, kWhole, ""},
    signedRow("Nominal Voltage", fru::dc::kNominal, kTenMillivolts, "V"),
    signedRow("Specified Minimum Voltage", fru::dc::kLowVoltage, kTenMillivolts, "V"),
    signedRow("Specified Maximum Voltage", fru::dc::kHighVoltage, kTenMillivolts, "V"),
    wordRow("Specified Ripple and Noise pk-pk", fru::dc::kRipple, kMilli, "V"),
    wordRow("Minimum Current Load", fru::dc::kLowCurrent, kMilli, "A"),
    wordRow("Maximum Current Load", fru::dc::kHighCurrent, kMilli, "A"),
};

/// Bytes from `place` on, LS byte first; nothing where they are cut off.
std::optional<unsigned int> wordOf(FruBytes data, std::size_t place, std::size_t size)
{
    if (data.size() < place + size)
        return std::nullopt;
    unsigned int word = 0;
    for (std::size_t i = size; i-- > 0;)
        word = word << 8 | data[place + i];
    return word;
}

void addNumbers(Fields& fields, FruBytes data, std::span<const NumberRow> rows)
{
    for (const NumberRow& row : rows) {
        const auto word = wordOf(data, row.place, row.size);
        if (!word || static_cast<int>(*word) == row.unspecified)
            continue;
        const unsigned int part = bits(*word, row.high, row.low);
        const int number = row.isSigned ? signExtend(part, row.high - row.low + 1U) : static_cast<int>(part);
        fields.push_back(fruNumber(row.name, static_cast<double>(number) / row.divisor, row.unit));
    }
}

void addRest(Fields& fields, FruBytes data, std::size_t known)
{
    if (data.size() > known)
        fields.push_back(fruBinary("Data", data.subspan(known)));
}

void addSupplyFlags(Fields& fields, FruBytes data)
{
    namespace supply = fru::supply;
    if (data.size() <= supply::kFlags)
        return;
    const unsigned int flags = data[supply::kFlags];
    const bool predicts = bit(flags, supply::kPredictiveFail), high = bit(flags, supply::kPulsesOrPolarity);
    if (predicts && data.size() > supply::kTachometer && data[supply::kTachometer] != 0)
        fields.push_back(fruNumber("Tachometer Pulses per Rotation", high ? 2 : 1));
    else if (predicts && data.size() > supply::kTachometer)
        fields.push_back(
            fruCode("Predictive Fail Polarity", high, high ? "de-asserted on failure" : "asserted on failure"));
    fields.push_back(fruFlag("Hot Swap Support", bit(flags, supply::kHotSwap)));
    fields.push_back(fruFlag("Autoswitch", bit(flags, supply::kAutoswitch)));
    fields.push_back(fruFlag("Power Factor Correction", bit(flags, supply::kPowerFactor)));
    fields.push_back(fruFlag("Predictive Fail Support", predicts));
}

void addCombinedVoltage(Fields& fields, const char* name, unsigned int code)
{
    constexpr double kVoltages[] = {12, -12, 5, 3.3};
    fields.push_back(code < std::size(kVoltages) ? fruNumber(name, kVoltages[code], "V")
                                                 : fruCode(name, code, nullptr));
}

/// Outputs whose power is limited together; a total of 0 says that there are none.
void addCombined(Fields& fields, FruBytes data)
{
    if (wordOf(data, fru::supply::kCombinedWattage, 2).value_or(0) == 0)
        return;
    const unsigned int voltages = data[fru::supply::kCombinedVoltages];
    addCombinedVoltage(fields, "Combined Wattage Voltage 1", bits(voltages, 7, 4));
    addCombinedVoltage(fields, "Combined Wattage Voltage 2", bits(voltages, 3, 0));
    addNumbers(fields, data, kCombinedWattage);
}

Fields powerSupplyFields(FruBytes data)
{
    Fields fields;
    addNumbers(fields, data, kSupplyNumbers);
    addSupplyFlags(fields, data);
    addNumbers(fields, data, kSupplyPeak);
    addCombined(fields, data);
    addNumbers(fields, data, kTachometerThreshold);
    addRest(fields, data, fru::supply::kSize);
    return fields;
}

Fields dcOutputFields(FruBytes data)
{
    Fields fields;
    if (!data.empty())
        fields.push_back(fruFlag("Standby", bit(data[fru::dc::kOutput], fru::dc::kStandby)));
    addNumbers(fields, data, kOutputNumbers);
    addRest(fields, data, fru::dc::kSize);
    return fields;
}

Fields dcLoadFields(FruBytes data)
{
    Fields fields;
    addNumbers(fields, data, kLoadNumbers);
    addRest(fields, data, fru::dc::kSize);
    return fields;
}

/// The first byte says what the text is.
Fields managementAccessFields(FruBytes data)
{
    constexpr const char* kTexts[] = {"System Management URL",    "System Name",    "System Ping Address",
                                      "Component Management URL", "Component Name", "Component Ping Address"};
    constexpr unsigned int kUniqueId = 7;
    if (data.empty())
        return {};
    const unsigned int kind = data[0];
    if (kind >= 1 && kind <= std::size(kTexts))
        return {fruText(kTexts[kind - 1], data.subspan(1))};
    if (kind == kUniqueId)
        return {fruBinary("System Unique ID", data.subspan(1))};
    return {fruCode("Sub-Record Type", kind, nullptr), fruBinary("Data", data.subspan(1))};
}

Fields compatibilityFields(FruBytes data)
{
    namespace place = fru::compatibility;
    Fields fields;
    if (const auto maker = wordOf(data, place::kManufacturer, 3))
        fields.push_back(fruManufacturer(*maker));
    if (const auto entity = wordOf(data, place::kEntity, 1))
        fields.push_back(fruCode("Entity ID Code", *entity, IpmiEntity::getName(*entity).c_str()));
    if (const auto base = wordOf(data, place::kBase, 1))
        fields.push_back(fruNumber("Compatibility Base", *base));
    if (const auto start = wordOf(data, place::kStart, 1))
        fields.push_back(fruNumber("Compatibility Code Start Value", bits(*start, 6, 0)));
    if (data.size() > place::kMask)
        fields.push_back(fruBinary("Code Range Mask", data.subspan(place::kMask)));
    return fields;
}

Fields oemFields(FruBytes data)
{
    Fields fields;
    const auto maker = wordOf(data, fru::compatibility::kManufacturer, 3);
    if (maker)
        fields.push_back(fruManufacturer(*maker));
    addRest(fields, data, maker ? 3 : 0);
    return fields;
}

Fields unnamedFields(FruBytes data)
{
    Fields fields;
    addRest(fields, data, 0);
    return fields;
}

constexpr const char* kRecordNames[] = {
    "Power Supply Information",
    "DC Output",
    "DC Load",
    "Management Access Record",
    "Base Compatibility Record",
    "Extended Compatibility Record",
    "ASF Fixed SMBus Device Record",
    "ASF Legacy-Device Alerts Record",
    "ASF Remote Control Record",
    "Extended DC Output",
    "Extended DC Load",
};

constexpr Fields (*kRecordFields[])(FruBytes) = {powerSupplyFields,      dcOutputFields,      dcLoadFields,
                                                 managementAccessFields, compatibilityFields, compatibilityFields};

} // namespace

const char* fruRecordName(unsigned int type)
{
    if (type >= fru::kFirstOem)
        return "OEM";
    return type < std::size(kRecordNames) ? kRecordNames[type] : "Reserved";
}

std::vector<IpmiFruField> fruRecordFields(unsigned int type, FruBytes data)
{
    if (type >= fru::kFirstOem)
        return oemFields(data);
    return type < std::size(kRecordFields) ? kRecordFields[type](data) : unnamedFields(data);
}

} // namespace Ipmi
