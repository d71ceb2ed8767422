// SPDX-License-Identifier: Apache-2.0
// What a chassis info area says.
#include "ipmi/IpmiFruChassis.h"

#include "fru/ChassisTypes.h"
#include "fru/FruFields.h"
#include "fru/FruText.h"
#include "wire/FruLayout.h"

namespace Ipmi
{

using namespace wire;

namespace
{

/// Chassis have no language: their texts are English.
constexpr FruFieldName kChassisFieldNames[] = {{"Chassis Part Number"}, {"Chassis Serial Number"}};
constexpr unsigned int kEnglish = 0, kLastCheckedType = 37;

} // namespace

std::vector<IpmiFruField> IpmiFruChassis::fields() const
{
    const unsigned char type = at(fru::kChassisType);
    return fruAreaFields(*this, {fruCode("Chassis Type", type, chassisTypeName(type))}, fru::kChassisFields, kEnglish,
                         kChassisFieldNames);
}

std::string IpmiFruChassis::getType() const
{
    const unsigned char type = at(fru::kChassisType);
    if (type > kLastCheckedType || hasKnownVersion(*this)) // whatever the version for types above: this is meant
        return chassisTypeText(type);
    return {};
}

std::string IpmiFruChassis::getPartNumber() const
{
    return cleanFruField(*this, fru::kChassisFields, 0);
}

std::string IpmiFruChassis::getSerialNumber() const
{
    std::string text;
    if (hasFruFieldsBefore(*this, fru::kChassisFields, 1))
        text = getFruAreaString(fruFieldIndex(*this, fru::kChassisFields, 1) - 1); // one byte early: this is meant
    return text.empty() ? kFruNotAvailable : toAsciiAndTrim(text);
}

void IpmiFruChassis::dump() const
{
    printFruArea(*this, "Chassis Info Area");
}

} // namespace Ipmi
