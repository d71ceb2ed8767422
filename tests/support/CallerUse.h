// SPDX-License-Identifier: Apache-2.0
// Everything that a caller can ask of one sensor, about a node's BMC, or about its inventory.
#pragma once

#include "ipmi/IpmiDiscreteSensor.h"
#include "ipmi/IpmiThresholdSensor.h"

#include <string>
#include <vector>

namespace Support
{

/// Calls every public member but those that set readings; those that ask the BMC too. @return the texts
std::vector<std::string> useSensor(Ipmi::IpmiSensor& sensor);

/// Everything that tells who the node's BMC is. @return the texts
std::vector<std::string> useIdentity(int node);

/// Makes the node's inventory anew, and looks at it in every way. @return the texts
std::vector<std::string> useInventory(int node);

} // namespace Support
