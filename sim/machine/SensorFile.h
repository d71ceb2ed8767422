// SPDX-License-Identifier: Apache-2.0
// One sensor of a machine file: its record, and what it reads.
#pragma once

#include "sim/machine/JsonReader.h"
#include "sim/machine/SdrWriter.h"

#include <optional>
#include <vector>

namespace Sim
{

/// What one sensor answers; absent parts stay as the record says.
struct SensorReading {
    std::optional<RawSource> raw{};
    std::optional<std::uint16_t> states{};
    bool unavailable = false;
    std::optional<std::uint8_t> flags{};
};

struct SensorDescription {
    SensorRecord record;
    std::vector<SensorReading> readings; ///< one per sensor of the record; fewer: the last counts for the rest
};

/// Reads a sensor's object, `kind` already known, and refuses unknown fields. Throws BadFile.
SensorDescription parseSensor(JsonObject& json, SensorRecord::Kind kind);

/// The name of a record and its encoding, fields "name" and "encoding". Throws BadFile.
Bytes parseIdString(JsonObject& json);

} // namespace Sim
