// SPDX-License-Identifier: Apache-2.0
// JSON's values within their ranges, and complaints with their place.
#include "sim/machine/JsonReader.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace Sim
{

namespace
{

/// File contents quoted in a message must not break its one line.
std::string oneLine(std::string text)
{
    constexpr std::size_t kLongest = 300;
    if (text.size() > kLongest)
        text = text.substr(0, kLongest) + "...";
    for (char& c : text) {
        if (static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) >= 0x7f)
            c = '?';
    }
    return text;
}

std::optional<std::int64_t> asInteger(const nlohmann::json& value)
{
    if (value.is_number_unsigned() && value.get<std::uint64_t>() > INT64_MAX)
        return std::nullopt;
    if (value.is_number_integer())
        return value.get<std::int64_t>();
    if (value.is_string())
        return parseInteger(value.get_ref<const std::string&>());
    return std::nullopt;
}

int hexDigit(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

std::optional<Bytes> parseHex(std::string_view text)
{
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == ' ')
            continue;
        const int high = hexDigit(text[i]), low = i + 1 < text.size() ? hexDigit(text[i + 1]) : -1;
        if (high < 0 || low < 0)
            return std::nullopt;
        bytes.push_back(static_cast<std::uint8_t>(high << 4 | low));
        ++i;
    }
    return bytes;
}

std::optional<std::int64_t> parseInteger(std::string_view text)
{
    const bool hex = text.starts_with("0x") || text.starts_with("0X");
    if (hex)
        text.remove_prefix(2);
    if (hex && text.starts_with('-'))
        return std::nullopt;
    std::int64_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value, hex ? 16 : 10);
    if (error != std::errc{} || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

nlohmann::json parseJson(std::string_view text, const std::string& source)
{
    try {
        return nlohmann::json::parse(text, nullptr, true, true);
    } catch (const nlohmann::json::exception& error) {
        std::string what = error.what();
        const std::size_t prefix = what.find("] ");
        throw BadFile(source + ": " + oneLine(prefix == std::string::npos ? what : what.substr(prefix + 2)));
    }
}

JsonObject::JsonObject(const nlohmann::json& value, std::string place) : value_(value), place_(std::move(place))
{
    if (!value_.is_object())
        fail("must be an object {...}");
}

void JsonObject::fail(const std::string& what) const
{
    throw BadFile(place_ + ": " + oneLine(what));
}

void JsonObject::fail(const char* name, const std::string& what) const
{
    fail("\"" + std::string(name) + "\" " + what);
}

const nlohmann::json* JsonObject::value(const char* name)
{
    known_.emplace(name);
    const auto found = value_.find(name);
    return found == value_.end() ? nullptr : &*found;
}

std::int64_t JsonObject::integer(const char* name, std::int64_t low, std::int64_t high,
                                 std::optional<std::int64_t> fallback)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr && fallback)
        return *fallback;
    if (field == nullptr)
        fail(name, "is missing");
    const auto number = asInteger(*field);
    if (!number || *number < low || *number > high)
        fail(name, "must be a whole number from " + std::to_string(low) + " to " + std::to_string(high));
    return *number;
}

std::uint8_t JsonObject::byte(const char* name, std::optional<std::uint8_t> fallback)
{
    return static_cast<std::uint8_t>(integer(name, 0, 0xff, fallback));
}

std::uint16_t JsonObject::word(const char* name, std::optional<std::uint16_t> fallback)
{
    return static_cast<std::uint16_t>(integer(name, 0, 0xffff, fallback));
}

double JsonObject::number(const char* name, std::optional<double> fallback)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr && fallback)
        return *fallback;
    if (field == nullptr)
        fail(name, "is missing");
    if (!field->is_number() || !std::isfinite(field->get<double>()))
        fail(name, "must be a number");
    return field->get<double>();
}

bool JsonObject::flag(const char* name, bool fallback)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr)
        return fallback;
    if (!field->is_boolean())
        fail(name, "must be true or false");
    return field->get<bool>();
}

std::string JsonObject::text(const char* name, std::optional<std::string> fallback)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr && fallback)
        return *fallback;
    if (field == nullptr)
        fail(name, "is missing");
    if (!field->is_string())
        fail(name, "must be a text");
    return field->get<std::string>();
}

Bytes JsonObject::bytes(const char* name, std::size_t shortest, std::size_t longest)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr)
        return {};
    const auto parsed = field->is_string() ? parseHex(field->get_ref<const std::string&>()) : std::nullopt;
    if (!parsed)
        fail(name, "must be a text of hexadecimal bytes, like \"01 a0\"");
    if (parsed->size() < shortest || parsed->size() > longest)
        fail(name, "must have " + std::to_string(shortest) +
                       (shortest == longest ? "" : " to " + std::to_string(longest)) + " bytes");
    return *parsed;
}

std::uint8_t JsonObject::named(const char* name, std::span<const Name> names, std::optional<std::uint8_t> fallback,
                               std::uint8_t highest)
{
    const nlohmann::json* field = value(name);
    if (field != nullptr && field->is_string()) {
        const std::string& text = field->get_ref<const std::string&>();
        const auto found = std::find_if(names.begin(), names.end(), [&](const Name& n) { return n.text == text; });
        if (found != names.end())
            return found->code;
        if (!parseInteger(text)) {
            std::string known;
            for (const Name& other : names)
                known += (known.empty() ? "" : ", ") + std::string(other.text);
            fail(name, "must be a number or one of: " + known);
        }
    }
    return static_cast<std::uint8_t>(integer(name, 0, highest, fallback));
}

JsonObject JsonObject::object(const char* name)
{
    const nlohmann::json* field = value(name);
    if (field == nullptr)
        fail(name, "is missing");
    return {*field, place_ + "." + name};
}

std::vector<std::pair<const nlohmann::json*, std::string>> JsonObject::elements(const char* name, std::size_t most)
{
    std::vector<std::pair<const nlohmann::json*, std::string>> all;
    const nlohmann::json* field = value(name);
    if (field == nullptr)
        return all;
    if (!field->is_array() || field->size() > most)
        fail(name, "must be a list [...] of at most " + std::to_string(most));
    for (const nlohmann::json& element : *field)
        all.emplace_back(&element, place_ + "." + name + "[" + std::to_string(all.size()) + "]");
    return all;
}

std::vector<JsonObject> JsonObject::objects(const char* name, std::size_t most)
{
    std::vector<JsonObject> all;
    for (const auto& [element, place] : elements(name, most))
        all.emplace_back(*element, place);
    return all;
}

std::vector<std::string> JsonObject::keys() const
{
    std::vector<std::string> all;
    for (const auto& item : value_.items())
        all.push_back(item.key());
    return all;
}

void JsonObject::finish() const
{
    for (const std::string& key : keys()) {
        if (!known_.contains(key))
            fail("unknown field \"" + key + "\"");
    }
}

} // namespace Sim
