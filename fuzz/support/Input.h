// A fuzzer's input as a caller of the library or an end of a socket would have it.
#pragma once

#include "base/WireReader.h"

#include <cstdint>
#include <span>

namespace Fuzz
{

using Span = std::span<const std::uint8_t>;

/// The next piece of the input: a length byte, then as many bytes; what there is, at the end.
inline Span nextPiece(TRX::WireReader& input)
{
    const std::size_t length = input.u8();
    return input.bytes(length < input.remaining() ? length : input.remaining());
}

} // namespace Fuzz
