// What may reach a terminal, and how wide it is there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tool
{

enum class Colour { kNone, kGreen, kYellow, kRed, kFaint };

/// True when standard output is a terminal that may be coloured (NO_COLOR unset, TERM not "dumb").
bool colourWanted();
/// `text` in a colour; unchanged for kNone.
std::string coloured(std::string_view text, Colour colour);

/// `text` (meant to be UTF-8) with everything that could act on a terminal replaced by '?': control characters, broken
/// UTF-8, marks that reorder text.
std::string printable(std::string_view text);
/// Columns that printable UTF-8 takes.
std::size_t columnsOf(std::string_view text);

/// Writes to standard output. Throws Failure when that is not possible.
void writeOut(std::string_view text);

} // namespace Tool
