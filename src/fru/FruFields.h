// SPDX-License-Identifier: Apache-2.0
// Making fields as the FRU standard reads them.
#pragma once

#include "ipmi/IpmiFruOptional.h"

#include <span>

namespace Ipmi
{

using FruBytes = std::span<const unsigned char>;

IpmiFruField fruBinary(std::string name, FruBytes bytes);
IpmiFruField fruNumber(std::string name, double number, std::string unit = {});
/// @param text  what the code stands for; null where it has no name
IpmiFruField fruCode(std::string name, unsigned int code, const char* text);
IpmiFruField fruFlag(std::string name, bool yes);
/// A maker's enterprise number, with the maker where it is known, else in decimal.
IpmiFruField fruManufacturer(unsigned int enterprise);
/// ASCII and Latin-1.
IpmiFruField fruText(std::string name, FruBytes bytes);
IpmiFruField fruLanguage(unsigned int language);

/// A field that every area of a kind has, in order.
struct FruFieldName {
    const char* name;
    bool alwaysEnglish = false; ///< its text is 8-bit whatever the area's language
};

/// An area in the format that is known: `fixed`, then its fields, then "Custom Field 1" and so on. Any other area as
/// it stands.
/// @param first     place of the first field's type/length byte
/// @param language  of the area's texts
std::vector<IpmiFruField> fruAreaFields(const IpmiFruOptional& area, std::vector<IpmiFruField> fixed,
                                        unsigned int first, unsigned int language, std::span<const FruFieldName> names);

} // namespace Ipmi
