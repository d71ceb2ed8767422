// SPDX-License-Identifier: Apache-2.0
// The board info area of a FRU.
#pragma once

#include "ipmi/CmpiDateTime.h"
#include "ipmi/IpmiFruOptional.h"

namespace Ipmi
{

/// A board info area (FRU Information Storage Definition, section 11). Members as of IpmiFruOptional; the texts are
/// cleaned by toAsciiAndTrim(), and fields() has what the standard says.
class TRX_IPMI_API IpmiFruBoard : public IpmiFruOptional
{
public:
    using IpmiFruOptional::IpmiFruOptional;

    void dump() const override;
    std::vector<IpmiFruField> fields() const override;

    /// "n/a" where it is absent or empty.
    std::string getManufacturer() const;
    /// Empty where it is absent.
    std::string getName() const;
    /// "n/a" where it is empty; empty where it is absent.
    std::string getSerialNumber() const;
    /// Empty where it is absent.
    std::string getPartNumber() const;
    /// The minutes of the manufacturing date, times 1000, as microseconds since 1970 (this is meant);
    /// CmpiDateTime::Unknown() where they are 0. Throws CmpiStatus with the broker's status when it fails.
    CmpiDateTime getMfgDateTime() const;
    /// The manufacturing date, UTC, as 2016-02-23T16:18:00; 1996-01-01T00:00:00 where it is unspecified; "N/A" for an
    /// area of a format that is not known.
    std::string getMfgDateTime8601() const;
};

} // namespace Ipmi
