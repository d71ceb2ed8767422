// SPDX-License-Identifier: Apache-2.0
// Facts about one thing: a line each for people, a member of an object each for programs.
#pragma once

#include "base/Json.h"

#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

struct Fact {
    std::string key;  ///< words between underscores
    std::string text; ///< empty: there is none
    Json json;
};

/// Words by code; a code beyond them has none.
using Words = std::vector<std::string_view>;

class Facts
{
public:
    void put(std::string key, std::string text, Json json)
    {
        list_.push_back({std::move(key), std::move(text), std::move(json)});
    }
    void text(std::string key, const std::string& value) { put(std::move(key), value, jsonText(value)); }
    void number(std::string key, int value) { put(std::move(key), std::to_string(value), value); }
    void hex(std::string key, unsigned value);
    void list(std::string key, const std::vector<std::string>& words);
    /// A code with its word.
    void coded(std::string key, unsigned code, const std::string& word);
    void coded(std::string key, unsigned code, const Words& words);

    const std::vector<Fact>& all() const { return list_; }
    /// An indented line each, printable, keys as words.
    std::string lines() const;

private:
    std::vector<Fact> list_;
};

} // namespace Tool
