// SPDX-License-Identifier: Apache-2.0
// What somebody else does to the BMC, by a fault plan, before a request is handled.
#pragma once

#include "sim/bmc/BmcState.h"
#include "sim/faults/FaultAction.h"

namespace Sim
{

/// The first part of an action (not `silent`, which needs a clock).
void interfere(const FaultAction& action, const Request& request, BmcState& state);

} // namespace Sim
