// SPDX-License-Identifier: Apache-2.0
// The FRU devices of a machine file.
#pragma once

#include "sim/machine/JsonReader.h"
#include "sim/machine/Machine.h"

#include <string>

namespace Sim
{

/// Puts "fru" into the machine. `folder` is where images that it names are looked for.
void parseFrus(JsonObject& json, const std::string& folder, Machine& machine);

} // namespace Sim
