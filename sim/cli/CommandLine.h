// SPDX-License-Identifier: Apache-2.0
// What a command line says: which verb, and what it is given.
#pragma once

#include "sim/cli/CtlVerb.h"
#include "sim/cli/MachineOptions.h"
#include "sim/cli/ServeVerb.h"

#include <optional>
#include <string>
#include <vector>

namespace Sim
{

struct CommandLine {
    std::string verb;
    MachineOptions machine{}; ///< of exec and sdr
    ServeOptions serve{};     ///< of serve; its folder also of env
    CtlOptions ctl{};
    std::string sdrFile{};
    std::vector<std::string> program{}; ///< of exec, with its arguments
};

/// Nothing when only help or the version was asked for: it is printed. Throws UserMistake.
std::optional<CommandLine> parseCommandLine(int argc, char** argv);

} // namespace Sim
