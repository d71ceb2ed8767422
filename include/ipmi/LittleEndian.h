// SPDX-License-Identifier: Apache-2.0
// Numbers of more than one byte, LS byte first, as every answer and record of IPMI has them.
#pragma once

#include <cstdint>

namespace Ipmi
{

constexpr std::uint16_t le16(std::uint8_t low, std::uint8_t high)
{
    return static_cast<std::uint16_t>(low | high << 8);
}

/// The number that begins at `bytes`, which has as many bytes.
constexpr std::uint16_t le16(const std::uint8_t* bytes)
{
    return le16(bytes[0], bytes[1]);
}

constexpr std::uint32_t le24(const std::uint8_t* bytes)
{
    return le16(bytes) | static_cast<std::uint32_t>(bytes[2]) << 16;
}

constexpr std::uint32_t le32(const std::uint8_t* bytes)
{
    return le24(bytes) | static_cast<std::uint32_t>(bytes[3]) << 24;
}

} // namespace Ipmi
