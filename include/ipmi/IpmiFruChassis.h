// SPDX-License-Identifier: Apache-2.0
// The chassis info area of a FRU.
#pragma once

#include "ipmi/IpmiFruOptional.h"

namespace Ipmi
{

/// A chassis info area (FRU Information Storage Definition, section 10). Members as of IpmiFruOptional; the texts are
/// cleaned by toAsciiAndTrim(), and fields() has what the standard says.
class TRX_IPMI_API IpmiFruChassis : public IpmiFruOptional
{
public:
    using IpmiFruOptional::IpmiFruOptional;

    void dump() const override;
    std::vector<IpmiFruField> fields() const override;

    /// The kind of chassis; "Unknown" for types from 37 on; empty for an area of a format that is not known.
    std::string getType() const;
    /// Empty where it is absent.
    std::string getPartNumber() const;
    /// The field one byte before the serial number (this is meant); "n/a" where it is absent or empty.
    std::string getSerialNumber() const;
};

} // namespace Ipmi
