// SPDX-License-Identifier: Apache-2.0
// Text fields of sensor data records: a type/length byte and what follows it (IPMI 2.0, 43.15).
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace Ipmi
{

/// Decodes a field to UTF-8. It ends at the first NUL, and at the end of the record whatever its length byte claims;
/// control characters become '?'. Blanks at the end are kept.
/// @param field  the type/length byte and the bytes after it; may be empty
std::string decodeIdString(std::span<const std::uint8_t> field);

/// Drops blanks at the end.
void trimRight(std::string& text);

/// The instance of a shared record's sensor, as it is put behind the identifier: decimal, or letters (0 A, 25 Z, 26
/// AA).
std::string instanceModifier(bool alphabetic, unsigned int offset);

} // namespace Ipmi
