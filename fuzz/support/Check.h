// What a fuzz target demands.
#pragma once

#include "base/Text.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace Fuzz
{

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
