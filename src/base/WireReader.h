// A cursor over bytes of unknown good will: reads past the end give 0 and latch, checked once at the end.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace TRX
{

class WireReader
{
public:
    explicit WireReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    /// False once any read has gone past the end.
    bool ok() const { return ok_; }
    std::size_t remaining() const { return bytes_.size() - position_; }

    std::uint8_t u8() { return take(1) ? bytes_[position_ - 1] : std::uint8_t{0}; }
    std::uint16_t le16()
    {
        return take(2) ? static_cast<std::uint16_t>(bytes_[position_ - 2] | bytes_[position_ - 1] << 8)
                       : std::uint16_t{0};
    }
    std::uint32_t le24()
    {
        return take(3) ? static_cast<std::uint32_t>(bytes_[position_ - 3] | bytes_[position_ - 2] << 8 |
                                                    bytes_[position_ - 1] << 16)
                       : 0;
    }
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

} // namespace TRX
