#include "sdr/IdString.h"

#include "base/WireReader.h"

#include <algorithm>

namespace Ipmi
{

namespace
{

enum Encoding : unsigned int { kUnicode, kBcdPlus, kSixBitAscii, kLatin1 };

constexpr char32_t kReplacement = 0xfffd;

constexpr bool isControl(char32_t c)
{
    return c < 0x20 || (c >= 0x7f && c < 0xa0);
}

void append(std::string& text, char32_t c)
{
    const auto put = [&text](char32_t byte) { text.push_back(static_cast<char>(byte)); };
    const auto putTail = [&](unsigned int shift) { put(0x80 | (c >> shift & 0x3f)); };
    if (isControl(c)) {
        put('?');
    } else if (c < 0x80) {
        put(c);
    } else if (c < 0x800) {
        put(0xc0 | c >> 6);
        putTail(0);
    } else if (c < 0x10000) {
        put(0xe0 | c >> 12);
        putTail(6);
        putTail(0);
    } else {
        put(0xf0 | c >> 18);
        putTail(12);
        putTail(6);
        putTail(0);
    }
}

/// The standard does not say which Unicode: UTF-16, LS byte first like every word of IPMI.
std::string decodeUnicode(std::span<const std::uint8_t> bytes)
{
    constexpr auto isHigh = [](char32_t c) { return c >= 0xd800 && c < 0xdc00; };
    constexpr auto isLow = [](char32_t c) { return c >= 0xdc00 && c < 0xe000; };
    TRX::WireReader words(bytes);
    std::string text;
    char32_t c = 0;
    while (words.remaining() >= 2 && (c = words.le16()) != 0) {
        if (isHigh(c)) {
            TRX::WireReader ahead = words;
            const char32_t low = ahead.le16();
            if (isLow(low)) {
                words = ahead;
                c = 0x10000 + ((c - 0xd800) << 10) + (low - 0xdc00);
            } else {
                c = kReplacement;
            }
        } else if (isLow(c)) {
            c = kReplacement;
        }
        append(text, c);
    }
    return text;
}

/// Two characters a byte, high digit first.
std::string decodeBcdPlus(std::span<const std::uint8_t> bytes)
{
    constexpr char kDigits[] = "0123456789 -.:,_";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text.push_back(kDigits[byte >> 4]);
        text.push_back(kDigits[byte & 0x0f]);
    }
    return text;
}

/// Four characters in three bytes, the first one in the lowest bits.
std::string decodeSixBitAscii(std::span<const std::uint8_t> bytes)
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

std::string decodeLatin1(std::span<const std::uint8_t> bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        if (byte == 0)
            break;
        append(text, byte);
    }
    return text;
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
    case kUnicode:
        return decodeUnicode(bytes);
    case kBcdPlus:
        return decodeBcdPlus(bytes);
    case kSixBitAscii:
        return decodeSixBitAscii(bytes);
    default:
        return decodeLatin1(bytes);
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
