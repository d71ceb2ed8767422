// SPDX-License-Identifier: Apache-2.0
// Cursors over bytes: one that reads what may be of ill will, and one that writes a request.
#pragma once

#include "wire/Bits.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi::wire
{

/// Reads past the end give 0 and latch, checked once at the end.
class Reader
{
public:
    explicit Reader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// False once any read has gone past the end.
    bool ok() const { return ok_; }
    std::size_t remaining() const { return bytes_.size() - position_; }

    std::uint8_t u8() { return take(1) ? bytes_[position_ - 1] : std::uint8_t{0}; }
    std::uint16_t le16() { return take(2) ? Ipmi::le16(&bytes_[position_ - 2]) : std::uint16_t{0}; }
    std::uint32_t le24() { return take(3) ? Ipmi::le24(&bytes_[position_ - 3]) : 0; }
    void skip(std::size_t count) { take(count); }
    /// The next `count` bytes; empty when there are fewer.
    std::span<const std::uint8_t> bytes(std::size_t count)
    {
        return take(count) ? bytes_.subspan(position_ - count, count) : std::span<const std::uint8_t>{};
    }

private:
    bool take(std::size_t count)
    {
        ok_ = ok_ && count <= remaining();
        position_ += ok_ ? count : 0;
        return ok_;
    }

    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
    bool ok_ = true;
};

/// The data of a request of at most 16 bytes; what does not fit is dropped.
class Writer
{
public:
    constexpr Writer& u8(unsigned int byte)
    {
        if (size_ < bytes_.size())
            bytes_[size_++] = lowByte(byte);
        return *this;
    }
    constexpr Writer& le16(unsigned int word) { return u8(lowByte(word)).u8(highByte(word)); }
    constexpr Writer& bytes(std::span<const std::uint8_t> more)
    {
        for (const std::uint8_t byte : more)
            u8(byte);
        return *this;
    }

    constexpr std::span<const std::uint8_t> data() const { return std::span(bytes_).first(size_); }
    constexpr operator std::span<const std::uint8_t>() const { return data(); }

private:
    std::array<std::uint8_t, 16> bytes_{};
    std::size_t size_ = 0;
};
static_assert(Writer().le16(0x1234).u8(0x56).data().size() == 3 && Writer().le16(0x1234).data()[1] == 0x12);

} // namespace Ipmi::wire
