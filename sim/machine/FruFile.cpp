// SPDX-License-Identifier: Apache-2.0
// FRU devices of a machine file: their images by fields, bytes or a file, and how they behave.
#include "sim/machine/FruFile.h"

#include "sim/machine/FruRecordFile.h"
#include "sim/machine/FruWriter.h"
#include "sim/machine/TextEncoding.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace Sim
{

namespace
{

constexpr std::size_t kMostFru = 1024, kMostFields = 32, kMostRecords = 256, kMostLines = 4096;

constexpr Name kAccess[] = {{"bytes", 0}, {"words", 1}, {"words at bytes", 2}};
constexpr Name kEncodings[] = {{"binary", 0}, {"bcd plus", 1}, {"6-bit", 2}, {"text", 3}};

/// Texts are two-byte Unicode where the language asks for it, and 8-bit Latin 1 in English.
Bytes textBytes(const std::string& text, FruEncoding encoding, std::uint8_t language)
{
    const bool english = language == 0 || language == kEnglish;
    if (encoding == FruEncoding::text)
        return encodeText(text, english ? IdEncoding::latin1 : IdEncoding::unicode);
    return encodeText(text, encoding == FruEncoding::sixBit ? IdEncoding::sixBit : IdEncoding::bcdPlus);
}

/// {"text": ..., "encoding": ...} or {"data": ...}, which is binary.
Bytes parseEncodedField(JsonObject json, std::uint8_t language)
{
    const bool plain = json.has("data");
    const auto encoding =
        plain ? FruEncoding::binary : static_cast<FruEncoding>(json.named("encoding", kEncodings, 3, 3));
    const Bytes content = plain || encoding == FruEncoding::binary ? json.bytes("data", 0, 0xff)
                                                                   : textBytes(json.text("text"), encoding, language);
    json.finish();
    return fruField(encoding, content);
}

Bytes parseField(const nlohmann::json& element, const std::string& place, std::uint8_t language)
{
    try {
        if (element.is_string())
            return fruField(FruEncoding::text, textBytes(element.get<std::string>(), FruEncoding::text, language));
        if (element.is_object())
            return parseEncodedField({element, place}, language);
    } catch (const std::invalid_argument& error) {
        throw BadFile(place + ": " + error.what());
    }
    throw BadFile(place + ": must be a text, or an object with its encoding");
}

std::vector<Bytes> parseFields(JsonObject& json, const char* name, std::uint8_t language)
{
    std::vector<Bytes> fields;
    for (const auto& [element, place] : json.elements(name, kMostFields))
        fields.push_back(parseField(*element, place, language));
    return fields;
}

/// A list of fields, or an object with such a list and what else there is to say.
std::optional<FruArea> parseArea(JsonObject& json, const char* name)
{
    const nlohmann::json* value = json.value(name);
    if (value == nullptr)
        return std::nullopt;
    FruArea area;
    if (!value->is_object()) {
        area.fields = parseFields(json, name, area.language);
        return area;
    }
    JsonObject object = json.object(name);
    area.language = object.byte("language", area.language);
    area.fields = parseFields(object, "fields", area.language);
    area.wrongChecksum = parseWrong(object, "checksum");
    object.finish();
    return area;
}

FruContents parseContents(JsonObject& json)
{
    constexpr std::size_t kLongestInternal = 2000;
    FruContents contents;
    if (json.has("internal"))
        contents.internal = json.bytes("internal", 0, kLongestInternal);
    contents.chassisType = json.byte("chassis_type", 0x17);
    contents.chassis = parseArea(json, "chassis");
    contents.boardMinutes = static_cast<std::uint32_t>(json.integer("board_minutes", 0, 0xffffff, 0));
    contents.board = parseArea(json, "board");
    contents.product = parseArea(json, "product");
    for (JsonObject& record : json.objects("multi", kMostRecords))
        contents.records.push_back(parseFruRecord(record));
    contents.endMark = json.flag("multi_end", true);
    contents.wrongHeaderChecksum = parseWrong(json, "checksum");
    contents.size = static_cast<std::size_t>(json.integer("size", 0, kLargestFru, 256));
    return contents;
}

/// Hexadecimal bytes in one text or in several.
Bytes parseData(JsonObject& json)
{
    if (json.value("data")->is_string())
        return json.bytes("data", 0, kLargestFru);
    Bytes image;
    for (const auto& [element, place] : json.elements("data", kMostLines)) {
        const auto line = element->is_string() ? parseHex(element->get_ref<const std::string&>()) : std::nullopt;
        if (!line)
            throw BadFile(place + ": must be a text of hexadecimal bytes, like \"01 a0\"");
        putBytes(image, *line);
    }
    if (image.size() > kLargestFru)
        json.fail("data", "must have at most 65535 bytes");
    return image;
}

/// Bytes that are there already, filled up with zeros.
Bytes parseRawImage(JsonObject& json, const std::string& folder)
{
    Bytes image = json.has("data")
                      ? parseData(json)
                      : readFile((std::filesystem::path(folder) / json.text("file")).string(), kLargestFru);
    image.resize(std::max(image.size(), static_cast<std::size_t>(json.integer("size", 0, kLargestFru, 0))));
    return image;
}

Bytes parseImage(JsonObject& json, const std::string& folder)
{
    if (json.has("file") || json.has("data"))
        return parseRawImage(json, folder);
    try {
        return writeFru(parseContents(json));
    } catch (const std::invalid_argument& error) {
        json.fail(error.what());
    }
}

/// The first so many bytes, or all of them.
std::size_t parseProtection(JsonObject& json)
{
    const nlohmann::json* value = json.value("write_protected");
    if (value == nullptr || value->is_boolean())
        return json.flag("write_protected", false) ? kLargestFru : 0;
    return static_cast<std::size_t>(json.integer("write_protected", 0, kLargestFru));
}

FruDevice parseDevice(JsonObject& json, bool onIpmb, const std::string& folder)
{
    constexpr std::int64_t kMostBusy = 1'000'000;
    FruDevice device(parseImage(json, folder));
    device.access = static_cast<FruAccess>(json.named("access", kAccess, 0, 2));
    if (json.has("claimed_size"))
        device.claimedSize = json.word("claimed_size");
    device.readLimit = static_cast<std::size_t>(
        json.integer("read_limit", 1, kMostFruBytes, onIpmb ? kMostFruBytesOnIpmb : kMostFruBytes));
    device.refusal = json.byte("refusal", kTooManyBytes);
    device.busyFor = static_cast<std::uint64_t>(json.integer("busy_for", 0, kMostBusy, 0));
    device.protectedBytes = parseProtection(json);
    json.finish();
    return device;
}

FruKey parseKey(JsonObject& json)
{
    const std::uint8_t device = json.byte("device"), address = json.byte("address", kBmcAddress);
    if (address % 2 != 0)
        json.fail("address", "must be even, an 8-bit slave address");
    return {device, address, static_cast<std::uint8_t>(json.integer("lun", 0, 3, 0))};
}

} // namespace

void parseFrus(JsonObject& json, const std::string& folder, Machine& machine)
{
    for (JsonObject& fru : json.objects("fru", kMostFru)) {
        const FruKey key = parseKey(fru);
        machine.fru[key] = parseDevice(fru, key.address != kBmcAddress, folder);
    }
}

} // namespace Sim
