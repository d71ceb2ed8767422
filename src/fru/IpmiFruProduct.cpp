// SPDX-License-Identifier: Apache-2.0
// What a product info area says.
#include "ipmi/IpmiFruProduct.h"

#include "fru/FruFields.h"
#include "fru/FruText.h"
#include "wire/FruLayout.h"

#include <cstdio>

namespace Ipmi
{

using namespace wire;

namespace
{

enum ProductField : unsigned int { kMaker, kProductName, kPartOrModel, kProductVersion, kProductSerial, kAssetTag };
constexpr FruFieldName kProductFieldNames[] = {{"Manufacturer Name"},
                                               {"Product Name"},
                                               {"Product Part/Model Number"},
                                               {"Product Version"},
                                               {"Product Serial Number", true},
                                               {"Asset Tag"},
                                               {"FRU File ID"}};

} // namespace

std::vector<IpmiFruField> IpmiFruProduct::fields() const
{
    const unsigned char language = at(fru::kLanguage);
    return fruAreaFields(*this, {fruLanguage(language)}, fru::kProductFields, language, kProductFieldNames);
}

std::string IpmiFruProduct::getManufacturer() const
{
    std::string text = cleanFruField(*this, fru::kProductFields, kMaker);
    return text.empty() ? kFruNotAvailable : text;
}

std::string IpmiFruProduct::getName() const
{
    return cleanFruField(*this, fru::kProductFields, kProductName);
}

std::string IpmiFruProduct::getPartNumber() const
{
    return cleanFruField(*this, fru::kProductFields, kPartOrModel);
}

std::string IpmiFruProduct::getVersion() const
{
    return cleanFruField(*this, fru::kProductFields, kProductVersion);
}

std::string IpmiFruProduct::getSerialNumber() const
{
    std::string text = kFruNotAvailable;
    if (hasFruFieldsBefore(*this, fru::kProductFields, kProductSerial)) {
        const unsigned int index = fruFieldIndex(*this, fru::kProductFields, kProductSerial);
        text = getFruAreaString(index - 1); // one byte early, and empty where that is: this is meant
    }
    return toAsciiAndTrim(text);
}

std::string IpmiFruProduct::getAssetTag() const
{
    return cleanFruField(*this, fru::kProductFields, kAssetTag);
}

void IpmiFruProduct::dump() const
{
    std::printf("IpmiFruProduct: Dump Entering\n");
    printFruArea(*this, "Product Info Area");
    std::printf("IpmiFruProduct: Dump Exiting.\n");
}

} // namespace Ipmi
