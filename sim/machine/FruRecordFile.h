// SPDX-License-Identifier: Apache-2.0
// A FRU's multi-records from their fields in physical units: Platform Management FRU Information Storage
// Definition 1.0.
#pragma once

#include "sim/machine/FruWriter.h"
#include "sim/machine/JsonReader.h"

namespace Sim
{

/// One element of "multi".
FruRecord parseFruRecord(JsonObject json);

/// True for "wrong" in a field that says how a checksum is.
bool parseWrong(JsonObject& json, const char* name);

} // namespace Sim
