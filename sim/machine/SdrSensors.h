// SPDX-License-Identifier: Apache-2.0
// The sensors that a repository's records describe.
#pragma once

#include "sim/machine/Machine.h"

#include <map>
#include <vector>

namespace Sim
{

/// Sensors of full and compact records, shared ones expanded; event-only sensors have no reading and are not among
/// them. Thresholds and hysteresis are readable and settable as the records say, values are the records' own; readings
/// are nominal ones, or between the thresholds.
/// The first of two records with one key wins.
std::map<SensorKey, Sensor> sensorsOf(const std::vector<Bytes>& records);

} // namespace Sim
