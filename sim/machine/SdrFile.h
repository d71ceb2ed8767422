// SPDX-License-Identifier: Apache-2.0
// The repository of a machine file: records of every kind, and the sensors behind them.
#pragma once

#include "sim/machine/JsonReader.h"
#include "sim/machine/Machine.h"

namespace Sim
{

/// Reads the list "sdr" of a machine's object into its repository and its sensors. Throws BadFile.
void parseRepository(JsonObject& json, Machine& machine);

} // namespace Sim
