// SPDX-License-Identifier: Apache-2.0
// Keeping an area's bytes, and the text of one field.
#include "ipmi/IpmiFruOptional.h"

#include "base/Log.h"
#include "fru/FruText.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <new>

namespace Ipmi
{

using namespace wire;

IpmiFruOptional::IpmiFruOptional() = default;
IpmiFruOptional::~IpmiFruOptional() = default;

IpmiFruOptional::IpmiFruOptional(unsigned int length, const unsigned char* bytes)
{
    if (length == 0 || bytes == nullptr)
        return;
    bytes_.reset(new unsigned char[length]);
    length_ = length;
    std::copy_n(bytes, length, bytes_.get());
}

IpmiFruOptional::IpmiFruOptional(const IpmiFruOptional& other) : IpmiFruOptional(other.length_, other.bytes_.get()) {}

IpmiFruOptional& IpmiFruOptional::operator=(const IpmiFruOptional& other)
{
    if (this != &other)
        set(other.length_, other.bytes_.get());
    return *this;
}

void IpmiFruOptional::set(unsigned int length, const unsigned char* bytes)
{
    if (bytes == nullptr)
        length = 0;
    std::unique_ptr<unsigned char[]> copy(length == 0 ? nullptr : new unsigned char[length]);
    std::copy_n(bytes, length, copy.get());
    bytes_ = std::move(copy);
    length_ = length;
}

namespace
{

/// The characters of a 6-bit field and one NUL, which the getters' cleaning drops (this is meant).
std::string sixBitWithNul(const IpmiFruOptional& area, unsigned int start, unsigned int length)
{
    const unsigned int count = 4 * length / 3;
    const std::unique_ptr<char[]> buffer(new (std::nothrow) char[count + 1]());
    if (!buffer) {
        TRX::log(LOG_ERR, "IpmiFruOptional::getFruAreaString could not allocate buffer of length %d",
                 static_cast<int>(count + 1));
        return {};
    }
    for (unsigned int i = 0; i < count; ++i) {
        const unsigned int group = start + i / 4 * 3; // no character is made of bits behind the field
        const unsigned int value =
            le16(area.at(group), area.at(group + 1)) | static_cast<unsigned int>(area.at(group + 2)) << 16;
        buffer[i] = static_cast<char>((value >> i % 4 * 6 & 0x3f) + 0x20);
    }
    return {buffer.get(), count + 1};
}

} // namespace

std::string IpmiFruOptional::getFruAreaString(unsigned int index) const
{
    const unsigned char typeLength = at(index);
    const unsigned int length = fru::fieldLength(typeLength);
    std::string text;
    if (fru::fieldType(typeLength) == fru::kSixBitField)
        return sixBitWithNul(*this, index + 1, length);
    if (fru::fieldType(typeLength) == fru::kTextField) {
        for (unsigned int i = 1; i <= length; ++i)
            text.push_back(static_cast<char>(at(index + i)));
    }
    return text; // of binary and BCD plus nothing: this is meant
}

void IpmiFruOptional::testDump() const
{
    std::printf("IpmiFruOptional: Dump Entering.\n");
    printFruArea(*this, "Info Area");
    std::printf("IpmiFruOptional: Dump Exiting.\n");
}

std::string& toAsciiAndTrim(std::string& text)
{
    for (char& c : text) {
        if (std::isprint(static_cast<unsigned char>(c)) == 0)
            c = ' ';
    }
    const std::size_t last = text.find_last_not_of(" \t");
    if (last != std::string::npos) // a text of blanks alone stays: this is meant
        text.erase(last + 1);
    return text;
}

} // namespace Ipmi
