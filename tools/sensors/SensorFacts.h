// SPDX-License-Identifier: Apache-2.0
// Everything that is known of one sensor: its whole record decoded, its thresholds, and its last reading.
#pragma once

#include "base/Json.h"
#include "sensors/SensorView.h"
#include "terminal/Facts.h"

#include <string>

namespace Tool
{

/// The sensor's object: what jsonOf says, then the rest. May send Get Sensor Hysteresis.
Json jsonWithFacts(Ipmi::IpmiSensor& sensor, const SensorView& view);
/// Its name, and a line for each fact. May send Get Sensor Hysteresis.
std::string textOfFacts(Ipmi::IpmiSensor& sensor, const SensorView& view);

/// Adds all that the sensor's record says, in its order.
void addRecordFacts(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts);

} // namespace Tool
