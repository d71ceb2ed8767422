// SPDX-License-Identifier: Apache-2.0
// Bytes of requests, answers and records, and numbers in them, the low byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <numeric>
#include <span>
#include <vector>

namespace Sim
{

using Bytes = std::vector<std::uint8_t>;

inline void putWord(Bytes& out, unsigned value)
{
    out.push_back(static_cast<std::uint8_t>(value & 0xff));
    out.push_back(static_cast<std::uint8_t>(value >> 8 & 0xff));
}

inline void putLong(Bytes& out, std::uint32_t value)
{
    putWord(out, value & 0xffff);
    putWord(out, value >> 16);
}

template <typename Range> void putBytes(Bytes& out, const Range& bytes)
{
    out.insert(out.end(), std::begin(bytes), std::end(bytes));
}

// What is past the end, as records may be cut, counts as 0.
inline std::uint8_t byteAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return offset < bytes.size() ? bytes[offset] : std::uint8_t{0};
}

inline std::uint16_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return offset + 1 < bytes.size() ? static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8)
                                     : std::uint16_t{0};
}

/// The byte that makes the sum of all of them zero.
inline std::uint8_t checksum(std::span<const std::uint8_t> bytes)
{
    return static_cast<std::uint8_t>(-std::accumulate(bytes.begin(), bytes.end(), 0U) & 0xff);
}

} // namespace Sim
