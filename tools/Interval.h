// The time between two looks, as users write it: seconds.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace Tool
{

/// A check for CLI11: empty when it is one. Seconds that are no number are none.
inline std::string checkInterval(const std::string& text)
{
    constexpr double kShortest = 0.1, kLongest = 86400;
    double seconds = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    return isNumber && seconds >= kShortest && seconds <= kLongest ? "" : "give 0.1 to 86400 seconds, not " + text;
}

} // namespace Tool
