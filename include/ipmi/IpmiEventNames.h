// SPDX-License-Identifier: Apache-2.0
// Words for states and events.
#pragma once

#include "ipmi/Export.h"

#include <string>

namespace Ipmi
{

/// What a state or an event of a sensor means (IPMI 2.0, tables 42-2 and 42-3), in the words of the event log's
/// captions; empty where the standard has none for it.
/// @param eventType   event/reading type code: 01h threshold, 02h-0Ch generic, 6Fh the sensor type's own
/// @param sensorType  counts with 6Fh only
/// @param offset      0..14
/// @threads  any; sends nothing
TRX_IPMI_API std::string eventName(unsigned char eventType, unsigned char sensorType, unsigned char offset);

} // namespace Ipmi
