// SPDX-License-Identifier: Apache-2.0
// What the command line said.
#pragma once

#include "cli/Verbs.h"

#include <functional>
#include <optional>

namespace Tool
{

struct CommandLine {
    Options options;
    std::function<int(const Options&)> run; ///< the chosen verb: gives the exit status, throws Failure; may be empty
};

/// Throws Failure for what cannot be meant. Nothing when help or the version was wanted, which is written then.
std::optional<CommandLine> commandLineFrom(int argc, char** argv);

} // namespace Tool
