// SPDX-License-Identifier: Apache-2.0
// Words for states and events, found in the tables of the event log's captions.
#include "ipmi/IpmiEventNames.h"

#include "sel/EventTexts.h"
#include "wire/EventTypes.h"

#include <string_view>

namespace Ipmi
{

namespace
{

/// Of sensor types that captions have no words for.
constexpr EventText kUncaptioned[] = {
    {0x19, 0x00, "Chip Set", "soft power control failure"},
    {0x19, 0x01, "Chip Set", "thermal trip"},
    {0x2a, 0x00, "Session Audit", "activated"},
    {0x2a, 0x01, "Session Audit", "deactivated"},
    {0x2a, 0x02, "Session Audit", "invalid user name or password"},
    {0x2a, 0x03, "Session Audit", "disabled after invalid passwords"},
};
static_assert(inOrder(kUncaptioned));

/// Types whose offsets have names of their own: the texts are for event data 2.
bool namesItsOffsets(unsigned int sensorType)
{
    constexpr unsigned int kSystemFirmware = 0x0f;
    return sensorType == kSystemFirmware;
}

/// Without what only event data tell, as in "Config Error: Vendor Mismatch".
std::string_view withoutDetail(const EventText& row, unsigned int sensorType, unsigned int offset)
{
    const std::string_view text = row.text;
    const bool isDetailed = rowsOf(kSensorEventTexts, sensorType, offset).size() > 1;
    return isDetailed ? text.substr(0, text.find(": ")) : text;
}

std::string_view sensorEventName(unsigned int sensorType, unsigned int offset)
{
    if (const EventText* row = findEvent(kUncaptioned, sensorType, offset))
        return row->text;
    const EventText* row = findEvent(kSensorEventTexts, sensorType, offset);
    if (!row || !row->text)
        return {};
    return namesItsOffsets(sensorType) ? row->name : withoutDetail(*row, sensorType, offset);
}

std::string_view genericEventName(unsigned int eventType, unsigned int offset)
{
    const EventText* row =
        eventType <= wire::event_type::kLastGeneric ? findEvent(kGenericEventTexts, eventType, offset) : nullptr;
    return row ? row->text : "";
}

} // namespace

std::string eventName(unsigned char eventType, unsigned char sensorType, unsigned char offset)
{
    const std::string_view name = eventType == wire::event_type::kSensorSpecific ? sensorEventName(sensorType, offset)
                                                                                 : genericEventName(eventType, offset);
    return std::string(name.substr(0, name.find_last_not_of(' ') + 1));
}

} // namespace Ipmi
