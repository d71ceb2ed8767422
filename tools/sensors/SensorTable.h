// SPDX-License-Identifier: Apache-2.0
// Sensors as columns for people.
#pragma once

#include "sensors/SensorView.h"
#include "terminal/Table.h"

#include <string>
#include <vector>

namespace Tool
{

/// Of a state as IpmiSensor::getState gives it.
Colour colourOf(const std::string& state);
/// Value, unit and state, as every list of sensors shows them.
std::vector<Table::Cell> readingCells(const SensorView& sensor);
/// "0x20/0"; empty for all when every sensor is the BMC's own, on LUN 0.
std::vector<std::string> ownerTexts(const std::vector<SensorView>& sensors);
/// All sensors with their thresholds.
std::string sensorTable(const std::vector<SensorView>& sensors);

} // namespace Tool
