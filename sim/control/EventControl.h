// SPDX-License-Identifier: Apache-2.0
// The control's requests about events and their log.
#pragma once

#include "sim/bmc/Bmc.h"
#include "sim/machine/JsonReader.h"

namespace Sim
{

/// "event": adds one event, or many. Throws BadFile.
nlohmann::json addEvents(Bmc& bmc, JsonObject& request);
/// "sel": the log as it is, after "clear" and "time" have been carried out. Throws BadFile.
nlohmann::json eventLog(Bmc& bmc, JsonObject& request);

} // namespace Sim
