// SPDX-License-Identifier: Apache-2.0
// Numbers as users write them.
#pragma once

#include <charconv>
#include <cstdint>
#include <optional>
#include <string_view>

namespace Tool
{

/// A number that fits, decimal or hexadecimal with 0x; nothing for every other text.
template <typename Number> std::optional<Number> numberFrom(std::string_view word)
{
    const bool hex = word.starts_with("0x") || word.starts_with("0X");
    word.remove_prefix(hex ? 2 : 0);
    Number value = 0;
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), value, hex ? 16 : 10);
    if (error != std::errc{} || end != word.data() + word.size())
        return std::nullopt;
    return value;
}

inline std::optional<std::uint8_t> byteFrom(std::string_view word)
{
    return numberFrom<std::uint8_t>(word);
}

} // namespace Tool
