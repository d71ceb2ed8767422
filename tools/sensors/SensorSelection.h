// SPDX-License-Identifier: Apache-2.0
// Which sensors the user wants to see.
#pragma once

#include "sensors/SensorView.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool
{

struct SensorSelection {
    std::optional<std::string>
        entity; ///< "7.1", "7", "0x07", "System Board" or "system board 1"; with all that is inside
    std::optional<std::string> type; ///< "Temperature", "temperature", "1" or "0x01"

    /// Keeps the sensors that are wanted of those of an open node. Throws Failure, which names what there is, for an
    /// entity or a type that is not there.
    void apply(int node, Sensors& sensors) const;
};

} // namespace Tool
