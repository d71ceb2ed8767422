// SPDX-License-Identifier: Apache-2.0
// The program's JSON: pure ASCII, indented, never with a number that is not one.
#pragma once

#include <cmath>
#include <nlohmann/json.hpp>
#include <string>

namespace Tool
{

using Json = nlohmann::ordered_json;

/// A finite number, else null.
inline Json jsonNumber(double value)
{
    return std::isfinite(value) ? Json(value) : Json(nullptr);
}

/// A text that says something, else null.
inline Json jsonText(const std::string& text)
{
    return text.empty() ? Json(nullptr) : Json(text);
}

inline std::string jsonDocument(const Json& json)
{
    return json.dump(2, ' ', true, Json::error_handler_t::replace) + '\n';
}

/// The same without indents, on one line.
inline std::string jsonLine(const Json& json)
{
    return json.dump(-1, ' ', true, Json::error_handler_t::replace) + '\n';
}

} // namespace Tool
