// SPDX-License-Identifier: Apache-2.0
// The product info area of a FRU.
#pragma once

#include "ipmi/IpmiFruOptional.h"

namespace Ipmi
{

/// A product info area (FRU Information Storage Definition, section 12). Members as of IpmiFruOptional; the texts are
/// cleaned by toAsciiAndTrim(), and fields() has what the standard says.
class TRX_IPMI_API IpmiFruProduct : public IpmiFruOptional
{
public:
    using IpmiFruOptional::IpmiFruOptional;

    void dump() const override;
    std::vector<IpmiFruField> fields() const override;

    /// "n/a" where it is absent or empty.
    std::string getManufacturer() const;
    /// Empty where it is absent, as those that follow.
    std::string getName() const;
    std::string getPartNumber() const;
    std::string getVersion() const;
    /// The field one byte before the serial number (this is meant); "n/a" where it is absent.
    std::string getSerialNumber() const;
    std::string getAssetTag() const;
};

} // namespace Ipmi
