// Everything that is known of one sensor: its whole record decoded, its thresholds, and its last reading.
#pragma once

#include "Json.h"
#include "SensorView.h"

#include <string>

namespace Tool
{

/// The sensor's object: what jsonOf says, then the rest. May send Get Sensor Hysteresis.
Json jsonWithFacts(Ipmi::IpmiSensor& sensor, const SensorView& view);
/// Its name, and a line for each fact. May send Get Sensor Hysteresis.
std::string textOfFacts(Ipmi::IpmiSensor& sensor, const SensorView& view);

} // namespace Tool
