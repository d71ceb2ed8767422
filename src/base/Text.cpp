// SPDX-License-Identifier: Apache-2.0
// Decoding Latin-1, UTF-8 and UTF-16, without control characters, and the packed encodings of IPMI.
#include "base/Text.h"

#include <bit>
#include <cstddef>

namespace TRX
{

namespace
{

using Bytes = std::span<const std::uint8_t>;

constexpr char32_t kReplacement = U'?';
constexpr char32_t kLastCodePoint = 0x10ffff;

constexpr bool isSurrogate(char32_t c)
{
    return c >= 0xd800 && c <= 0xdfff;
}

constexpr bool isControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7f && c <= 0x9f);
}

void append(std::string& text, char32_t c)
{
    const auto byte = [&text](char32_t value) { text += static_cast<char>(value); };
    const auto tail = [&](int shift) { byte(0x80 | (c >> shift & 0x3f)); };
    if (c > kLastCodePoint || isSurrogate(c) || (isControl(c) && c != 0))
        c = kReplacement;
    if (c < 0x80) {
        byte(c);
    } else if (c < 0x800) {
        byte(0xc0 | c >> 6);
        tail(0);
    } else if (c < 0x10000) {
        byte(0xe0 | c >> 12);
        tail(6);
        tail(0);
    } else {
        byte(0xf0 | c >> 18);
        tail(12);
        tail(6);
        tail(0);
    }
}

/// Length of the UTF-8 sequence that `lead` begins; 0 when none does.
constexpr std::size_t sequenceLength(std::uint8_t lead)
{
    const int ones = std::countl_one(lead);
    return ones == 0 ? 1 : ones >= 2 && ones <= 4 ? static_cast<std::size_t>(ones) : 0;
}
static_assert(sequenceLength('a') == 1 && sequenceLength(0x80) == 0 && sequenceLength(0xe2) == 3 &&
              sequenceLength(0xff) == 0);

/// The code point of a whole sequence; past the last one for a sequence that UTF-8 does not allow.
char32_t decode(Bytes sequence)
{
    constexpr char32_t least[] = {0, 0, 0x80, 0x800, 0x10000}, bad = kLastCodePoint + 1;
    char32_t c = sequence.size() == 1 ? sequence[0] : sequence[0] & (0x7fU >> sequence.size());
    for (const std::uint8_t byte : sequence.subspan(1)) {
        if ((byte & 0xc0) != 0x80)
            return bad;
        c = c << 6 | (byte & 0x3f);
    }
    return c < least[sequence.size()] ? bad : c;
}

} // namespace

std::string textFromLatin1(Bytes bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        append(text, byte);
    return text;
}

std::string textFromUtf8(Bytes bytes)
{
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes[0]);
        if (length > bytes.size())
            break;
        const char32_t c = length ? decode(bytes.first(length)) : kLastCodePoint + 1;
        append(text, c);
        bytes = bytes.subspan(c > kLastCodePoint ? 1 : length);
    }
    return text;
}

std::string textFromUtf16(Bytes bytes)
{
    std::string text;
    const auto unit = [&bytes](std::size_t at) { return static_cast<char32_t>(bytes[at] | bytes[at + 1] << 8); };
    while (bytes.size() >= 2) {
        const char32_t first = unit(0);
        const bool isHigh = first >= 0xd800 && first <= 0xdbff;
        if (isHigh && bytes.size() < 4)
            break;
        const char32_t second = isHigh ? unit(2) : 0;
        const bool isPair = isHigh && second >= 0xdc00 && second <= 0xdfff;
        append(text, isPair ? 0x10000 + ((first - 0xd800) << 10) + (second - 0xdc00) : first);
        bytes = bytes.subspan(isPair ? 4 : 2);
    }
    return text;
}

std::string textFromBcdPlus(Bytes bytes)
{
    constexpr char kDigits[] = "0123456789 -.:,_";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0f]);
    }
    return text;
}

std::string textFromSixBit(Bytes bytes)
{
    std::string text;
    unsigned int pending = 0, count = 0;
    for (const std::uint8_t byte : bytes) {
        pending |= static_cast<unsigned int>(byte) << count;
        for (count += 8; count >= 6; count -= 6, pending >>= 6)
            text.push_back(static_cast<char>(' ' + (pending & 0x3f)));
    }
    return text;
}

std::string trimmed(std::string text)
{
    text.erase(text.find_last_not_of(std::string(" \0", 2)) + 1);
    for (char& c : text) {
        if (c == '\0')
            c = static_cast<char>(kReplacement);
    }
    return text;
}

} // namespace TRX
