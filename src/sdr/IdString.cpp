// SPDX-License-Identifier: Apache-2.0
// Unpacking the encodings of text fields.
#include "sdr/IdString.h"

#include "base/Text.h"

#include <algorithm>
#include <cstddef>

namespace Ipmi
{

namespace
{

enum Encoding : unsigned int { kUnicode, kBcdPlus, kSixBitAscii, kLatin1 };

/// Without the first NUL, of `unit` bytes, and what follows it.
std::span<const std::uint8_t> upToNul(std::span<const std::uint8_t> bytes, std::size_t unit)
{
    std::size_t end = 0;
    while (end + unit <= bytes.size() && (bytes[end] != 0 || bytes[end + unit - 1] != 0))
        end += unit;
    return bytes.first(end);
}

} // namespace

std::string decodeIdString(std::span<const std::uint8_t> field)
{
    if (field.empty())
        return {};
    // The length counts characters to some makers and bytes to others. The longer reading is right for both: what it
    // takes too much is past the record's end, or padding.
    const unsigned int encoding = field[0] >> 6;
    const std::size_t length = (field[0] & 0x1fU) * (encoding == kUnicode ? 2 : 1);
    const auto bytes = field.subspan(1, std::min(length, field.size() - 1));
    switch (encoding) {
    case kUnicode: // the standard does not say which: LS byte first like every word of IPMI
        return TRX::textFromUtf16(upToNul(bytes, 2));
    case kBcdPlus:
        return TRX::textFromBcdPlus(bytes);
    case kSixBitAscii:
        return TRX::textFromSixBit(bytes);
    default:
        return TRX::textFromLatin1(upToNul(bytes, 1));
    }
}

void trimRight(std::string& text)
{
    text.erase(text.find_last_not_of(' ') + 1);
}

std::string instanceModifier(bool alphabetic, unsigned int offset)
{
    if (!alphabetic)
        return std::to_string(offset);
    std::string letters;
    for (unsigned int rest = offset + 1; rest != 0; rest = (rest - 1) / 26)
        letters.insert(letters.begin(), static_cast<char>('A' + (rest - 1) % 26));
    return letters;
}

} // namespace Ipmi
