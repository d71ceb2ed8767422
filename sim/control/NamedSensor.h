// SPDX-License-Identifier: Apache-2.0
// Sensors by the names that their records give them.
#pragma once

#include "sim/machine/Machine.h"
#include "sim/machine/SensorScale.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// A sensor and what its record tells about it.
struct NamedSensor {
    SensorKey key;
    std::string name;
    std::uint8_t type = 0;              ///< sensor type code
    std::uint8_t eventType = 0;         ///< event/reading type code
    std::optional<SensorScale> scale{}; ///< of full records
};

/// Those that can be read, in the order of their keys; those without a record have no name.
std::vector<NamedSensor> namedSensors(const Machine& machine);

/// The sensor with a reading that a user means by NAME or NUMBER[@OWNER[/LUN]]. Throws BadFile: none, or several.
NamedSensor findSensor(const Machine& machine, std::string_view what);
/// Likewise among all that can send events, event-only sensors too.
NamedSensor findEventSource(const Machine& machine, std::string_view what);

} // namespace Sim
