// Everything that a caller can do with one sensor.
#pragma once

#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiThresholdSensor.h"

#include <string>
#include <vector>

namespace Support
{

/// Calls every public member but those that set readings; those that ask the BMC too. @return the texts
std::vector<std::string> useSensor(Ipmi::IpmiSensor& sensor);

} // namespace Support
