// SPDX-License-Identifier: Apache-2.0
// Names of a node's sensors: the identifiers of their records, made unique.
#pragma once

#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"

#include <string>
#include <vector>

namespace Ipmi
{

/// Recognises the sensors of shared records and gives every sensor its name (IpmiSensor::getName). To be called when
/// all of a node's sensors are built and none is published; the same repository gets the same names.
void assignNames(std::vector<TRX::Reference<IpmiSensor>>& sensors);

/// The identifier, or a text with the sensor's number where the record has none.
std::string plainName(const IpmiSensor& sensor);

} // namespace Ipmi
