// SPDX-License-Identifier: Apache-2.0
// What may reach a terminal, and how wide it is there.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Tool
{

enum class Colour { kNone, kGreen, kYellow, kRed, kFaint };

/// True when standard output is a terminal that knows the usual escape sequences (TERM not "dumb").
bool onTerminal();
/// True when standard output is a terminal, and colours are welcome there (NO_COLOR unset).
bool colourWanted();
/// `text` in a colour; unchanged for kNone.
std::string coloured(std::string_view text, Colour colour);

/// True when the locale (LC_ALL, LC_CTYPE, LANG) says that text is UTF-8.
bool unicodeWanted();

/// `text` (meant to be UTF-8) with everything that could act on a terminal replaced by '?': control characters, broken
/// UTF-8, marks that reorder text.
std::string printable(std::string_view text);
/// Columns that printable UTF-8 takes.
std::size_t columnsOf(std::string_view text);

/// The first `columns` columns of a line; colours take none and stay whole.
std::string cutTo(std::string_view line, std::size_t columns);

/// Writes to standard output. Throws Failure when that is not possible.
void writeOut(std::string_view text);
/// Writes "trx-ipmi: " and the text, as one printable line, to standard error.
void complain(std::string text);

} // namespace Tool
