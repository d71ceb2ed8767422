// Sensors by the names that their records give them.
#pragma once

#include "sim/Machine.h"
#include "sim/SensorScale.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// A sensor that can be read, and what its record tells about it.
struct NamedSensor {
    SensorKey key;
    std::string name;
    std::optional<SensorScale> scale{}; ///< of full records
};

/// In the order of their keys; those without a record have no name.
std::vector<NamedSensor> namedSensors(const Machine& machine);

/// The sensor that a user means by NAME or NUMBER[@OWNER[/LUN]]. Throws BadFile: none, or several.
NamedSensor findSensor(const Machine& machine, std::string_view what);

} // namespace Sim
