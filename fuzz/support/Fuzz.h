// SPDX-License-Identifier: Apache-2.0
// What fuzz targets share: the input as a caller of the library or an end of a socket would have it, and demands.
#pragma once

#include "base/Text.h"
#include "wire/Cursor.h"

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace Fuzz
{

using Span = std::span<const std::uint8_t>;

/// What a target does with one input; each has its own. Files that are refused (Sim::BadFile) are fine.
void use(Span input);

/// The next piece of the input: a length byte, then as many bytes; what there is, at the end.
inline Span nextPiece(Ipmi::wire::Reader& input)
{
    const std::size_t length = input.u8();
    return input.bytes(length < input.remaining() ? length : input.remaining());
}

inline void demand(bool fine, const char* what)
{
    if (fine)
        return;
    std::fprintf(stderr, "demanded: %s\n", what);
    std::abort();
}

/// Texts that come from a device must be UTF-8 without control characters.
inline void demandClean(const std::vector<std::string>& texts)
{
    for (const std::string& text : texts) {
        const std::vector<std::uint8_t> bytes(text.begin(), text.end());
        demand(TRX::textFromUtf8(bytes) == text, ("a clean text: \"" + text + '"').c_str());
    }
}

} // namespace Fuzz
