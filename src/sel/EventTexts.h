// SPDX-License-Identifier: Apache-2.0
// Words for events: what an offset means for a kind of reading or for a type of sensor.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>
#include <utility>

namespace Ipmi
{

struct EventText {
    std::uint8_t code; ///< event/reading type or sensor type
    std::uint8_t offset;
    const char* name; ///< of the code
    const char* text; ///< of the offset; null where the code has no events of its own
};
using EventTexts = std::span<const EventText>;

/// By code, then by offset.
constexpr bool inOrder(EventTexts rows)
{
    return std::is_sorted(rows.begin(), rows.end(), [](const EventText& a, const EventText& b) {
        return std::pair(a.code, a.offset) < std::pair(b.code, b.offset);
    });
}

/// IPMI 2.0, table 42-2, Generic Event/Reading Type Codes.
extern const EventTexts kGenericEventTexts;
/// IPMI 2.0, table 42-3, Sensor Type Codes.
extern const EventTexts kSensorEventTexts;

/// The rows of a code and an offset: more than one where event data tell which it is.
EventTexts rowsOf(EventTexts table, unsigned int code, unsigned int offset);
/// The first row of a code; null when there is none.
const EventText* findCode(EventTexts table, unsigned int code);
/// The first row of a code and an offset; null when there is none.
const EventText* findEvent(EventTexts table, unsigned int code, unsigned int offset);

} // namespace Ipmi
