// SPDX-License-Identifier: Apache-2.0
// The LAN channel of a machine file.
#pragma once

#include "sim/machine/JsonReader.h"
#include "sim/machine/Machine.h"

namespace Sim
{

/// Reads the object "lan", if there is one, after the controllers. Throws BadFile.
void parseLan(JsonObject& json, Machine& machine);

} // namespace Sim
