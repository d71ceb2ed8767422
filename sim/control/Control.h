// SPDX-License-Identifier: Apache-2.0
// What may be changed and asked while a simulator serves: one JSON object a request, one an answer.
#pragma once

#include "sim/bmc/Bmc.h"

#include <string>
#include <string_view>

namespace Sim
{

class Control
{
public:
    explicit Control(Bmc& bmc) : bmc_(bmc) {}

    /// Carries out one request, {"do": "set" | "faults" | "counters" | "sensors" | "latency" | "event" | "sel", ...}.
    /// The answer is one line: {"ok": true, ...}, or {"error": "..."} for a request that cannot be carried out and
    /// changed nothing.
    std::string answer(std::string_view request);

private:
    Bmc& bmc_;
};

} // namespace Sim
