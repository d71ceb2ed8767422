// SPDX-License-Identifier: Apache-2.0
// Characters into the encodings that they are stored in.
#include "sim/machine/TextEncoding.h"

#include <stdexcept>

namespace Sim
{

namespace
{

/// The text's characters; only those of two UTF-8 bytes and the first plane's three are needed.
std::vector<char32_t> charactersOf(std::string_view text)
{
    std::vector<char32_t> characters;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t more = lead < 0x80 ? 0 : lead >> 5 == 6 ? 1 : lead >> 4 == 14 ? 2 : 9;
        if (more == 9 || i + more >= text.size())
            throw std::invalid_argument("has a character outside the 16-bit ones");
        char32_t character = more == 0 ? lead : lead & (0x3fU >> more);
        for (std::size_t k = 1; k <= more; ++k)
            character = character << 6 | (static_cast<unsigned char>(text[i + k]) & 0x3f);
        characters.push_back(character);
        i += more + 1;
    }
    return characters;
}

Bytes latin1(const std::vector<char32_t>& characters)
{
    Bytes bytes;
    for (const char32_t c : characters) {
        if (c > 0xff)
            throw std::invalid_argument("has a character outside Latin 1");
        bytes.push_back(static_cast<std::uint8_t>(c));
    }
    return bytes;
}

Bytes utf16(const std::vector<char32_t>& characters)
{
    Bytes bytes;
    for (const char32_t c : characters)
        putWord(bytes, static_cast<unsigned>(c));
    return bytes;
}

Bytes bcdPlus(const std::vector<char32_t>& characters)
{
    constexpr std::string_view kDigits = "0123456789 -.:,_";
    Bytes bytes;
    for (std::size_t i = 0; i < characters.size(); i += 2) {
        const auto digitAt = [&](std::size_t k) {
            const char32_t c = k < characters.size() ? characters[k] : U' ';
            const auto digit = c < 0x80 ? kDigits.find(static_cast<char>(c)) : std::string_view::npos;
            if (digit == std::string_view::npos)
                throw std::invalid_argument("has a character that BCD plus lacks (it has 0-9 and \" -.:,_\")");
            return digit;
        };
        bytes.push_back(static_cast<std::uint8_t>(digitAt(i) << 4 | digitAt(i + 1)));
    }
    return bytes;
}

Bytes sixBit(const std::vector<char32_t>& characters)
{
    Bytes bytes;
    unsigned bits = 0, waiting = 0;
    for (const char32_t c : characters) {
        if (c < 0x20 || c > 0x5f)
            throw std::invalid_argument("has a character that 6-bit ASCII lacks (it has no small letters)");
        bits |= static_cast<unsigned>(c - 0x20) << waiting;
        for (waiting += 6; waiting >= 8; waiting -= 8, bits >>= 8)
            bytes.push_back(static_cast<std::uint8_t>(bits & 0xff));
    }
    if (waiting != 0)
        bytes.push_back(static_cast<std::uint8_t>(bits & 0xff));
    return bytes;
}

} // namespace

Bytes encodeText(std::string_view text, IdEncoding encoding)
{
    const std::vector<char32_t> characters = charactersOf(text);
    switch (encoding) {
    case IdEncoding::unicode:
        return utf16(characters);
    case IdEncoding::bcdPlus:
        return bcdPlus(characters);
    case IdEncoding::sixBit:
        return sixBit(characters);
    case IdEncoding::latin1:
        break;
    }
    return latin1(characters);
}

} // namespace Sim
