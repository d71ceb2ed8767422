// Numbers as users write them.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Tool
{

/// A byte, decimal or hexadecimal with 0x; nothing for every other text.
inline std::optional<std::uint8_t> byteFrom(std::string_view word)
{
    const bool hex = word.starts_with("0x") || word.starts_with("0X");
    word.remove_prefix(hex ? 2 : 0);
    std::uint8_t value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, hex ? 16 : 10);
    if (error != std::errc{} || end != word.data() + word.size())
        return std::nullopt;
    return value;
}

} // namespace Tool
