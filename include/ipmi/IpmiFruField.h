// SPDX-License-Identifier: Apache-2.0
// Fields of FRU areas and records of the multi-record area, as the FRU standard reads them.
#pragma once

#include "ipmi/Export.h"

#include <optional>
#include <string>
#include <vector>

namespace Ipmi
{

/// One field by its name in the IPMI Platform Management FRU Information Storage Definition. A plain value.
struct IpmiFruField {
    enum Encoding {
        kBinary,  ///< `value` is hexadecimal, two digits a byte, nothing between them
        kBcdPlus, ///< text in BCD plus
        kSixBit,  ///< text in 6-bit packed ASCII
        kLatin1,  ///< text in ASCII and Latin-1
        kUnicode, ///< text in two-byte Unicode
        kNumber,  ///< `number` in `unit`; `value` is the same in decimal
        kCode,    ///< `number` stands for something: `value` names it, or is 0xNN where it has no name
        kFlag,    ///< `value` is "yes" and `number` 1, or "no" and 0
        kTime,    ///< `value` is a point in time, UTC, as 2016-02-23T16:18:00Z (ISO 8601)
    };

    std::string name;
    /// UTF-8 without control characters; blanks and NULs that fill up its end are dropped. Empty where the field is.
    std::string value;
    Encoding encoding = kBinary;
    /// Of numbers, codes and flags alone.
    std::optional<double> number = std::nullopt;
    /// "V", "A", "W", "VA", "Hz", "ms", "s" or "RPS" (rotations per second); empty for what has none.
    std::string unit = {};
};

/// One record of a multi-record area. A plain value.
struct IpmiFruRecord {
    unsigned char type = 0;
    std::string name; ///< the standard's name of its type
    /// Whether header and data have the right checksums and all of the data were there. Where it is false the fields
    /// show what was there.
    bool checksumOk = false;
    std::vector<IpmiFruField> fields;
};

/// "binary", "bcd-plus", "6-bit", "latin-1", "unicode", "number", "code", "flag" or "time". Lives as long as the
/// library. @threads any; sends nothing
TRX_IPMI_API const char* encodingName(IpmiFruField::Encoding encoding);

} // namespace Ipmi
