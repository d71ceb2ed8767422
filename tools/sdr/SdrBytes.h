// The bytes of one sensor data record: reads past its end give 0.
#pragma once

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
    std::uint16_t le16(std::size_t index) const { return static_cast<std::uint16_t>(at(index) | at(index + 1) << 8); }
    unsigned bits(std::size_t index, unsigned top, unsigned bottom) const
    {
        return at(index) >> bottom & ((1U << (top - bottom + 1)) - 1);
    }
    bool bit(std::size_t index, unsigned number) const { return bits(index, number, number) != 0; }
    /// A factor of a full record: its low byte, and its two high bits on top of the next byte; signed.
    int tenBits(std::size_t index) const { return signExtend(at(index) | bits(index + 1, 7, 6) << 8, 10); }

    static constexpr int signExtend(unsigned value, unsigned width)
    {
        const unsigned sign = 1U << (width - 1);
        return static_cast<int>(value & (sign - 1)) - static_cast<int>(value & sign);
    }

private:
    std::span<const std::uint8_t> bytes_;
};
static_assert(SdrBytes::signExtend(0x3ff, 10) == -1 && SdrBytes::signExtend(0x1ff, 10) == 511);
static_assert(SdrBytes::signExtend(0x8, 4) == -8 && SdrBytes::signExtend(0x7, 4) == 7);

} // namespace Tool
