// SPDX-License-Identifier: Apache-2.0
// Text that came from a device, made fit to show: UTF-8 without control characters.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace TRX
{

// Each of these replaces control characters, and what the encoding does not allow, by '?', and drops what is left of a
// character that was cut off at the end. NULs stay.

/// ASCII and Latin-1.
std::string textFromLatin1(std::span<const std::uint8_t> bytes);
std::string textFromUtf8(std::span<const std::uint8_t> bytes);
/// UTF-16, LS byte first.
std::string textFromUtf16(std::span<const std::uint8_t> bytes);

/// BCD plus: two characters a byte, high digit first.
std::string textFromBcdPlus(std::span<const std::uint8_t> bytes);
/// 6-bit packed ASCII: four characters in three bytes, the first one in the lowest bits.
std::string textFromSixBit(std::span<const std::uint8_t> bytes);

/// Drops NULs and blanks at the end; other NULs are control characters like any.
std::string trimmed(std::string text);

} // namespace TRX
