// SPDX-License-Identifier: Apache-2.0
// Reading hostile JSON: fields by name, in a range, and every complaint with its place.
#pragma once

#include "sim/machine/InputFile.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Sim
{

/// JSON text as a value. Throws BadFile with `source` in front.
nlohmann::json parseJson(std::string_view text, const std::string& source);

/// A name in a JSON file and its number on the wire.
struct Name {
    std::string_view text;
    std::uint8_t code;
};

/// One JSON object. Every getter throws BadFile that says where and what; numbers may be written as "0x2a" too.
class JsonObject
{
public:
    /// `place` is how messages call this object, like `sample.json: sdr[3]`. The value must outlive the reader.
    JsonObject(const nlohmann::json& value, std::string place);

    bool has(const char* name) const { return value_.contains(name); }
    /// An integer in low..high; without a fallback the field must be there.
    std::int64_t integer(const char* name, std::int64_t low, std::int64_t high,
                         std::optional<std::int64_t> fallback = std::nullopt);
    std::uint8_t byte(const char* name, std::optional<std::uint8_t> fallback = std::nullopt);
    std::uint16_t word(const char* name, std::optional<std::uint16_t> fallback = std::nullopt);
    /// A finite number.
    double number(const char* name, std::optional<double> fallback = std::nullopt);
    bool flag(const char* name, bool fallback);
    std::string text(const char* name, std::optional<std::string> fallback = std::nullopt);
    /// Hexadecimal bytes in a text, blanks between them allowed; empty when the field is not there.
    Bytes bytes(const char* name, std::size_t shortest, std::size_t longest);
    /// One of the names, or a number 0..`highest`.
    std::uint8_t named(const char* name, std::span<const Name> names, std::optional<std::uint8_t> fallback,
                       std::uint8_t highest = 255);
    JsonObject object(const char* name);
    /// The objects of an array; none when the field is not there.
    std::vector<JsonObject> objects(const char* name, std::size_t most);
    /// The elements of an array with the reader's place for each; none when the field is not there.
    std::vector<std::pair<const nlohmann::json*, std::string>> elements(const char* name, std::size_t most);
    /// The field itself, counted as known; null when it is not there.
    const nlohmann::json* value(const char* name);

    /// Refuses fields that nobody asked for: they are misspelt.
    void finish() const;
    [[noreturn]] void fail(const std::string& what) const;
    [[noreturn]] void fail(const char* name, const std::string& what) const;
    const std::string& place() const { return place_; }
    /// Names of the fields.
    std::vector<std::string> keys() const;

private:
    const nlohmann::json& value_;
    std::string place_;
    std::set<std::string, std::less<>> known_;
};

/// Bytes of a hexadecimal text; nullopt when it is none.
std::optional<Bytes> parseHex(std::string_view text);
/// A number in C notation; nullopt when it is none.
std::optional<std::int64_t> parseInteger(std::string_view text);

} // namespace Sim
