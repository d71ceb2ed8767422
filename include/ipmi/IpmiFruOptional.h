// SPDX-License-Identifier: Apache-2.0
// The bytes of one area of a FRU's inventory.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/IpmiFruField.h"

#include <memory>
#include <string>
#include <vector>

namespace Ipmi
{

/// An area as it stands in the FRU device (IPMI Platform Management FRU Information Storage Definition); its kind is
/// its dynamic type. Owns a copy of the bytes. Sends nothing; any thread may call const members, also at once.
///
/// The area may be of any ill will: what would stand past its end reads as zero bytes.
class TRX_IPMI_API IpmiFruOptional
{
public:
    virtual ~IpmiFruOptional();
    /// Prints the bytes (IpmiFruMulti logs them).
    virtual void dump() const = 0;
    /// Every field in order, by the standard, custom fields too: to the end mark, at most to the end of the area as it
    /// says itself and of the bytes. A field that is cut off there has what is left of it. Values that the standard
    /// calls unspecified are left out. An area of a format that is not known is one binary field, "Data".
    virtual std::vector<IpmiFruField> fields() const = 0;

    /// Without bytes.
    IpmiFruOptional();
    /// Copies `length` bytes; null counts as none.
    IpmiFruOptional(unsigned int length, const unsigned char* bytes);
    IpmiFruOptional(const IpmiFruOptional& other);
    IpmiFruOptional& operator=(const IpmiFruOptional& other);

    /// Replaces the bytes, as the constructor.
    void set(unsigned int length, const unsigned char* bytes);

    unsigned int length() const { return length_; }
    /// length() bytes, owned by the area until set(); null without any.
    const unsigned char* bytes() const { return bytes_.get(); }
    /// Byte `index`, or 0 past the end.
    unsigned char at(unsigned int index) const
    {
        return index < length_ ? bytes_[index] : static_cast<unsigned char>(0);
    }

    /// The field whose type/length byte is byte `index`: 8-bit text as it stands; 6-bit packed ASCII with one NUL more
    /// at its end (this is meant); nothing for binary and BCD plus (this is meant: fields() has them). Where memory
    /// runs out: logged, nothing.
    std::string getFruAreaString(unsigned int index) const;
    /// Prints the bytes to standard output, whatever the kind.
    void testDump() const;

private:
    unsigned int length_ = 0;
    std::unique_ptr<unsigned char[]> bytes_;
};

/// Makes blanks of what the C library calls unprintable, and drops blanks at the end unless there is nothing else.
/// @return `text`. @threads any; sends nothing
TRX_IPMI_API std::string& toAsciiAndTrim(std::string& text);

} // namespace Ipmi
