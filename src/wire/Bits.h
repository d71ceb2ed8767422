// SPDX-License-Identifier: Apache-2.0
// Parts of bytes and numbers, as the tables of IPMI name them.
#pragma once

#include "ipmi/LittleEndian.h"

#include <cstdint>

namespace Ipmi::wire
{

/// Bits `top` to `bottom` of a byte, as a number.
constexpr unsigned int bits(unsigned int byte, unsigned int top, unsigned int bottom)
{
    return byte >> bottom & ((1U << (top - bottom + 1)) - 1);
}
static_assert(bits(0xb5, 7, 6) == 2 && bits(0xb5, 5, 3) == 6 && bits(0xb5, 0, 0) == 1);

constexpr bool bit(unsigned int byte, unsigned int number)
{
    return bits(byte, number, number) != 0;
}

/// The value of a two's complement number of `width` bits; higher bits do not count.
constexpr int signExtend(unsigned int value, unsigned int width)
{
    const unsigned int sign = 1U << (width - 1);
    return static_cast<int>(value & (sign - 1)) - static_cast<int>(value & sign);
}
static_assert(signExtend(0x3ff, 10) == -1 && signExtend(0x200, 10) == -512 && signExtend(0x1ff, 10) == 511);
static_assert(signExtend(0xf6, 8) == -10 && signExtend(0x8, 4) == -8 && signExtend(0x17, 4) == 7);

constexpr std::uint8_t lowByte(unsigned int word)
{
    return static_cast<std::uint8_t>(word);
}

constexpr std::uint8_t highByte(unsigned int word)
{
    return static_cast<std::uint8_t>(word >> 8);
}

} // namespace Ipmi::wire
