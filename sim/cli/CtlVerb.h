// SPDX-License-Identifier: Apache-2.0
// ctl: asks and changes a simulator that serves.
#pragma once

#include "sim/cli/LogVerbs.h"

#include <string>

namespace Sim
{

struct CtlOptions {
    std::string verb{}; ///< its own: "set", "faults" and so on
    std::string folder{}, sensor{}, value{}, raw{}, states{}, plan{};
    bool unavailable = false, clear = false, asJson = false;
    unsigned int latency = 0;
    EventOptions event{};
    SelOptions sel{};
};

/// Throws BadFile or UserMistake.
void ctlVerb(const CtlOptions& options);

} // namespace Sim
