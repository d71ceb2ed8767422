// SPDX-License-Identifier: Apache-2.0
// What the getters of chassis, board and product share: fields found by counting, and the listing of an area.
#pragma once

#include "ipmi/IpmiFruOptional.h"

#include <span>

namespace Ipmi
{

inline constexpr const char* kFruNotAvailable = "n/a";

/// Whether the area has the format that the getters know.
bool hasKnownVersion(const IpmiFruOptional& area);

/// The place of the type/length byte of field `count` (from 0), whatever stands in those before it.
/// @param first  that of the first field
unsigned int fruFieldIndex(const IpmiFruOptional& area, unsigned int first, unsigned int count);

/// Whether the area is of a known format and none of the `count` fields from `first` on is the end mark.
bool hasFruFieldsBefore(const IpmiFruOptional& area, unsigned int first, unsigned int count);

/// Field `count`, cleaned; empty where an end mark or an unknown format stands before it.
std::string cleanFruField(const IpmiFruOptional& area, unsigned int first, unsigned int count);

/// Prints `title`, with the length, and the bytes; a newline alone when there are none.
void printFruArea(const IpmiFruOptional& area, const char* title);

inline std::span<const unsigned char> fruBytesOf(const IpmiFruOptional& area)
{
    return {area.bytes(), area.length()};
}

} // namespace Ipmi
