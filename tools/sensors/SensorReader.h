// SPDX-License-Identifier: Apache-2.0
// The sensors of a node.
#pragma once

#include "node/NodeSession.h"
#include "sensors/SensorView.h"

namespace Tool
{

/// Reads the repository; all sensors, by owner, LUN and number. Throws Failure.
Sensors readSensors(const NodeSession& session);

} // namespace Tool
