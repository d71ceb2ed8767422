// SPDX-License-Identifier: Apache-2.0
// The bytes of one sensor data record: reads past its end give 0.
#pragma once

#include "wire/Bits.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Tool
{

class SdrBytes
{
public:
    explicit SdrBytes(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::size_t size() const { return bytes_.size(); }
    std::span<const std::uint8_t> all() const { return bytes_; }
    std::span<const std::uint8_t> from(std::size_t index) const
    {
        return bytes_.subspan(std::min(index, bytes_.size()));
    }

    std::uint8_t at(std::size_t index) const { return index < bytes_.size() ? bytes_[index] : std::uint8_t{0}; }
    std::uint16_t le16(std::size_t index) const { return Ipmi::le16(at(index), at(index + 1)); }
    unsigned bits(std::size_t index, unsigned top, unsigned bottom) const
    {
        return Ipmi::wire::bits(at(index), top, bottom);
    }
    bool bit(std::size_t index, unsigned number) const { return bits(index, number, number) != 0; }
    /// A factor of a full record: its low byte, and its two high bits on top of the next byte; signed.
    int tenBits(std::size_t index) const { return Ipmi::wire::signExtend(at(index) | bits(index + 1, 7, 6) << 8, 10); }

private:
    std::span<const std::uint8_t> bytes_;
};

} // namespace Tool
