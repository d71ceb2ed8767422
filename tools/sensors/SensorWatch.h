// SPDX-License-Identifier: Apache-2.0
// The same sensors again and again.
#pragma once

#include "sensors/SensorView.h"

#include <chrono>
#include <optional>

namespace Tool
{

struct Watch {
    std::chrono::duration<double> interval;
    std::optional<unsigned> count; ///< passes; nothing: until the user ends it
    bool json = false;             ///< one document per pass and line
};

/// Shows sensors of an open node, which have just been read, and after each interval reads and shows them again. On a
/// terminal in place. Returns the exit status. Throws Failure.
int watchSensors(int node, const Sensors& sensors, const Watch& watch);

} // namespace Tool
