// SPDX-License-Identifier: Apache-2.0
// Names that machine files use for IPMI's numbers. Every field takes the number as well.
#pragma once

#include "sim/machine/JsonReader.h"

#include <span>

namespace Sim
{

std::span<const Name> unitNames();          ///< IPMI 2.0, Sensor Unit Type Codes (the common ones)
std::span<const Name> sensorTypeNames();    ///< IPMI 2.0, Sensor Type Codes (the common ones)
std::span<const Name> linearizationNames(); ///< IPMI 2.0, full sensor record, Linearization
std::span<const Name> rateNames();          ///< IPMI 2.0, Sensor Units 1, rate unit
std::span<const Name> modifierUseNames();   ///< IPMI 2.0, Sensor Units 1, modifier unit
std::span<const Name> formatNames();        ///< IPMI 2.0, Sensor Units 1, analog data format
std::span<const Name> encodingNames();      ///< IPMI 2.0, Type/Length Byte
std::span<const Name> accessNames();        ///< IPMI 2.0, Sensor Capabilities, threshold and hysteresis access
std::span<const Name> sensorKindNames();    ///< record types of sensors
std::span<const Name> thresholdNames();     ///< bit numbers as commands have them

} // namespace Sim
