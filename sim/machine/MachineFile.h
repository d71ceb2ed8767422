// SPDX-License-Identifier: Apache-2.0
// Machines from a description: a built-in name, a JSON file, or raw captures.
#pragma once

#include "sim/machine/InputFile.h"
#include "sim/machine/Machine.h"

#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// Names of the machines inside the program, sorted.
std::vector<std::string> builtinMachines();

/// A built-in machine by its name, else the JSON file of that path. Throws BadFile.
Machine loadMachine(const std::string& nameOrFile);

/// A machine from JSON text; `source` is how messages call it. Throws BadFile.
Machine parseMachine(std::string_view json, const std::string& source);

} // namespace Sim
