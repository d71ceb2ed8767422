// SPDX-License-Identifier: Apache-2.0
// Facts as lines.
#include "terminal/Facts.h"

#include "terminal/Terminal.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tool
{

void Facts::hex(std::string key, unsigned value)
{
    put(std::move(key), fmt::format("0x{:02x}", value), value);
}

void Facts::list(std::string key, const std::vector<std::string>& words)
{
    put(std::move(key), words.empty() ? "none" : fmt::format("{}", fmt::join(words, ", ")), words);
}

void Facts::coded(std::string key, unsigned code, const std::string& word)
{
    put(std::move(key), fmt::format("{} (0x{:02x})", word.empty() ? "unknown" : word, code),
        {{"code", code}, {"name", jsonText(word)}});
}

void Facts::coded(std::string key, unsigned code, const Words& words)
{
    coded(std::move(key), code, code < words.size() ? std::string(words[code]) : "");
}

std::string Facts::lines() const
{
    std::size_t width = 0;
    for (const Fact& fact : list_)
        width = std::max(width, fact.key.size());
    std::string result;
    for (const Fact& fact : list_) {
        std::string title = fact.key;
        std::replace(title.begin(), title.end(), '_', ' ');
        result += fmt::format("  {:<{}}  {}\n", title, width, fact.text.empty() ? "-" : printable(fact.text));
    }
    return result;
}

} // namespace Tool
