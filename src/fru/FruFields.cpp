// SPDX-License-Identifier: Apache-2.0
// Fields of every encoding, and the walk from one type/length byte to the next.
#include "fru/FruFields.h"

#include "base/Text.h"
#include "fru/FruText.h"
#include "node/IpmiIfcIdentity.h"
#include "wire/FruLayout.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <string_view>

namespace Ipmi
{

using namespace wire;

namespace
{

std::string hexDigits(FruBytes bytes)
{
    constexpr char kDigits[] = "0123456789abcdef";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const unsigned char byte : bytes) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0f];
    }
    return text;
}

/// As short as it can be without another number's being meant.
std::string decimal(double number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::string numbered(unsigned int code)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%02x", code);
    return text;
}

/// Language codes 1 to 136: ISO 639 in its first edition, two letters each.
constexpr std::string_view kLanguages = "aaabafamarasayazbabebgbhbibnbobrcacocscydadedzeleneoeseteufafifjfofrfygagdglgn"
                                        "guhahihrhuhyiaieikinisitiwjajijwkakkkl"
                                        "kmknkokskukylalnloltlvmgmimkmlmnmomrmsmtmynanenlnoocomorpaplpsptqurmrnrorurwsa"
                                        "sdsgshsiskslsmsnsosqsrssstsusvswtatetg"
                                        "thtitktltntotrtstttwukuruzvivowoxhyozhzu";
static_assert(kLanguages.size() == 136 * 2 && kLanguages.substr(24 * 2, 2) == "en");

/// A field of an info area from its type/length byte and what there is of its data.
IpmiFruField decodeField(std::string name, std::uint8_t typeLength, FruBytes data, bool isEnglish)
{
    switch (fru::fieldType(typeLength)) {
    case fru::kBinaryField:
        return fruBinary(std::move(name), data);
    case fru::kBcdPlusField:
        return {std::move(name), TRX::trimmed(TRX::textFromBcdPlus(data)), IpmiFruField::kBcdPlus};
    case fru::kSixBitField:
        return {std::move(name), TRX::trimmed(TRX::textFromSixBit(data)), IpmiFruField::kSixBit};
    default:
        if (isEnglish)
            return fruText(std::move(name), data);
        return {std::move(name), TRX::trimmed(TRX::textFromUtf16(data)), IpmiFruField::kUnicode};
    }
}

/// The area as it says itself, as far as it is there, without its checksum.
FruBytes fieldBytes(FruBytes area)
{
    const std::size_t claimed = area.size() > fru::kLength ? area[fru::kLength] * fru::kUnit : 0;
    return area.first(std::min(area.size(), claimed == 0 ? 0 : claimed - 1));
}

} // namespace

IpmiFruField fruBinary(std::string name, FruBytes bytes)
{
    return {std::move(name), hexDigits(bytes), IpmiFruField::kBinary};
}

IpmiFruField fruNumber(std::string name, double number, std::string unit)
{
    return {std::move(name), decimal(number), IpmiFruField::kNumber, number, std::move(unit)};
}

IpmiFruField fruCode(std::string name, unsigned int code, const char* text)
{
    return {std::move(name), text ? text : numbered(code), IpmiFruField::kCode, code};
}

IpmiFruField fruFlag(std::string name, bool yes)
{
    return {std::move(name), yes ? "yes" : "no", IpmiFruField::kFlag, yes ? 1 : 0};
}

IpmiFruField fruManufacturer(unsigned int enterprise)
{
    const char* maker = manufacturerName(enterprise);
    return fruCode("Manufacturer ID", enterprise, maker ? maker : std::to_string(enterprise).c_str());
}

IpmiFruField fruText(std::string name, FruBytes bytes)
{
    return {std::move(name), TRX::trimmed(TRX::textFromLatin1(bytes)), IpmiFruField::kLatin1};
}

IpmiFruField fruLanguage(unsigned int language)
{
    if (fru::isEnglish(language))
        return fruCode("Language Code", language, "en");
    const bool known = language <= kLanguages.size() / 2;
    const std::string letters(known ? kLanguages.substr((language - 1) * 2, 2) : "");
    return fruCode("Language Code", language, known ? letters.c_str() : nullptr);
}

std::vector<IpmiFruField> fruAreaFields(const IpmiFruOptional& area, std::vector<IpmiFruField> fixed,
                                        unsigned int first, unsigned int language, std::span<const FruFieldName> names)
{
    const FruBytes bytes = fieldBytes(fruBytesOf(area));
    if (!hasKnownVersion(area) || bytes.size() < first) {
        if (area.length() == 0)
            return {};
        return {fruBinary("Data", fruBytesOf(area))};
    }
    std::vector<IpmiFruField> fields = std::move(fixed);
    FruBytes rest = bytes.subspan(first);
    for (std::size_t i = 0; !rest.empty() && rest[0] != fru::kEndOfFields; ++i) {
        const bool custom = i >= names.size();
        const auto data = rest.subspan(1, std::min<std::size_t>(fru::fieldLength(rest[0]), rest.size() - 1));
        fields.push_back(decodeField(custom ? "Custom Field " + std::to_string(i - names.size() + 1) : names[i].name,
                                     rest[0], data, fru::isEnglish(language) || (!custom && names[i].alwaysEnglish)));
        rest = rest.subspan(1 + data.size());
    }
    return fields;
}

const char* encodingName(IpmiFruField::Encoding encoding)
{
    constexpr const char* kNames[] = {"binary", "bcd-plus", "6-bit", "latin-1", "unicode",
                                      "number", "code",     "flag",  "time"};
    static_assert(std::size(kNames) == IpmiFruField::kTime + 1);
    const auto index = static_cast<std::size_t>(encoding);
    return index < std::size(kNames) ? kNames[index] : kNames[IpmiFruField::kBinary];
}

} // namespace Ipmi
