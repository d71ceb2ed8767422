// SPDX-License-Identifier: Apache-2.0
// serve: a simulated BMC for as long as it is wanted. env: how programs find it.
#pragma once

#include "sim/cli/MachineOptions.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Sim
{

struct ServeOptions {
    MachineOptions machine;
    std::optional<std::uint16_t> vmPort{}; ///< 0: any free one
    std::string folder;                    ///< of the sockets; empty: the usual one
};

/// Serves until SIGINT, SIGTERM or SIGHUP. Throws BadFile, UserMistake or std::runtime_error.
void serveVerb(const ServeOptions& options);

/// Prints what a shell has to export so that its programs reach the simulator in `folder`. Throws UserMistake.
void envVerb(const std::string& folder);

} // namespace Sim
