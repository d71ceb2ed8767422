// SPDX-License-Identifier: Apache-2.0
// Watches nodes until it is told to stop.
#pragma once

#include <chrono>
#include <vector>

#include "monitor/MonitorLines.h"

namespace Tool
{

struct MonitorPlan {
    std::vector<int> nodes;
    double interval = 10; ///< seconds
    bool sensors = true;  ///< their states too, not events alone
    MonitorLines::Form form;
};

/// Writes what happens, line by line, until a signal ends it. Returns the exit status. Throws Failure.
int monitor(const MonitorPlan& plan);

} // namespace Tool
