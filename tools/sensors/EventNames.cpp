// SPDX-License-Identifier: Apache-2.0
// The tables of states and events by name.
#include "sensors/EventNames.h"

#include "ipmi/IpmiEventNames.h"

namespace Tool
{

std::vector<std::string> eventNames(std::uint8_t eventType, std::uint8_t sensorType, unsigned mask)
{
    std::vector<std::string> names;
    for (unsigned offset = 0; mask >> offset != 0; ++offset) {
        if ((mask >> offset & 1) == 0)
            continue;
        const std::string name = Ipmi::eventName(eventType, sensorType, static_cast<std::uint8_t>(offset));
        names.push_back(name.empty() ? "offset " + std::to_string(offset) : name);
    }
    return names;
}

} // namespace Tool
