// SPDX-License-Identifier: Apache-2.0
// Compares names, and says what there would have been to name.
#include "terminal/Choice.h"

#include "base/Failure.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <strings.h>

namespace Tool
{

bool isSameName(const std::string& a, const std::string& b)
{
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

void nothingFits(const char* what, const std::string& wanted, const std::vector<std::string>& known)
{
    throw Failure(fmt::format("no {} \"{}\" here: there {} {}", what, printable(wanted),
                              known.empty()       ? "is"
                              : known.size() == 1 ? "is"
                                                  : "are",
                              known.empty() ? "none" : fmt::format("{}", fmt::join(known, ", "))));
}

} // namespace Tool
