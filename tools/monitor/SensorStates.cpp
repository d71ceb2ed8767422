// SPDX-License-Identifier: Apache-2.0
// Takes the states of all sensors, and compares them with others.
#include "monitor/SensorStates.h"

#include "sensors/EventNames.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tool
{

namespace
{

std::string wordsOf(const Ipmi::IpmiSensor& sensor, const std::string& code)
{
    const std::vector<std::string> names = assertedStates(sensor);
    return names.empty() ? code : fmt::format("{}", fmt::join(names, ", "));
}

} // namespace

SensorStates::SensorStates(const Sensors& sensors)
{
    for (const auto& sensor : sensors) {
        const std::string code = stateOf(*sensor);
        byDevice_.insert_or_assign(sensor->getDeviceId(), Entry{sensor, {code, wordsOf(*sensor, code)}});
    }
}

std::vector<SensorChange> SensorStates::changesSince(const SensorStates& before) const
{
    std::vector<SensorChange> changes;
    for (const auto& [device, entry] : byDevice_) {
        const auto found = before.byDevice_.find(device);
        if (found != before.byDevice_.end() && found->second.state.code != entry.state.code)
            changes.push_back({entry.sensor, found->second.state, entry.state});
    }
    return changes;
}

} // namespace Tool
