// SPDX-License-Identifier: Apache-2.0
// Texts as records and FRU areas store them: IPMI 2.0, Type/Length Byte.
#pragma once

#include "sim/bus/Bytes.h"

#include <cstdint>
#include <string_view>

namespace Sim
{

/// How an id string is stored; the value is the type code.
enum class IdEncoding : std::uint8_t { unicode = 0, bcdPlus = 1, sixBit = 2, latin1 = 3 };

/// The text, which is UTF-8, without a type/length byte; Unicode has two bytes a character, the low one first. Throws
/// std::invalid_argument when the encoding lacks one of its characters.
Bytes encodeText(std::string_view text, IdEncoding encoding);

} // namespace Sim
