// SPDX-License-Identifier: Apache-2.0
// exec: a program with a simulated BMC on its /dev/ipmi0.
#pragma once

#include "sim/cli/MachineOptions.h"

#include <string>
#include <vector>

namespace Sim
{

/// Serves the machine until the program ends; the program's status. Throws BadFile or UserMistake.
int execVerb(const MachineOptions& options, const std::vector<std::string>& command);

} // namespace Sim
