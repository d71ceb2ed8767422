// SPDX-License-Identifier: Apache-2.0
// Sensor data records from their fields: IPMI 2.0, Sensor Data Record Formats.
#pragma once

#include "sim/machine/Machine.h"
#include "sim/machine/SensorScale.h"
#include "sim/machine/TextEncoding.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Sim
{

/// An id string: type/length byte and at most 16 bytes. The text is UTF-8. Throws std::invalid_argument when the
/// encoding lacks one of its characters or has no room for it.
Bytes encodeIdString(std::string_view text, IdEncoding encoding);

/// Which sensors beside its own one a compact or event-only record describes.
struct SdrShare {
    unsigned count = 0;           ///< 0..15
    bool alphabetic = false;      ///< instance modifiers A, B .. instead of numbers
    unsigned offset = 0;          ///< 0..127, of the first sensor's modifier
    bool entityInstances = false; ///< each sensor belongs to the next entity instance
};

/// The fields of a full, compact or event-only record.
struct SensorRecord {
    enum class Kind : std::uint8_t { full = 1, compact = 2, eventOnly = 3 };
    Kind kind = Kind::full;
    SensorKey key;
    std::uint8_t channel = 0;
    std::uint8_t entityId = 0;
    std::uint8_t entityInstance = 1;
    std::uint8_t init = 0x7f;
    std::uint8_t capabilities = 0;
    std::uint8_t type = 0;
    std::uint8_t eventType = 1;
    std::array<std::uint16_t, 3> masks{}; ///< assertions, deassertions, reading or threshold masks
    std::array<std::uint8_t, 3> units{};  ///< units 1 without the format, base unit, modifier unit
    SensorScale scale;
    unsigned tolerance = 0;        ///< 0..63
    unsigned accuracy = 0;         ///< 0..1023
    unsigned accuracyExponent = 0; ///< 0..3
    std::uint8_t direction = 0;    ///< 0..3
    std::uint8_t analogFlags = 0;
    std::array<std::uint8_t, 5> nominal{};    ///< raw: nominal, normal maximum and minimum, sensor maximum and minimum
    std::array<std::uint8_t, 6> thresholds{}; ///< raw, LNC LC LNR UNC UC UNR
    std::array<std::uint8_t, 2> hysteresis{}; ///< positive, negative
    SdrShare share;
    std::uint8_t oem = 0;
    Bytes id{0xc0}; ///< from encodeIdString()
};

/// Whole records, header included, under a record id.
Bytes writeSensorRecord(std::uint16_t recordId, const SensorRecord& record);
Bytes writeRecord(std::uint16_t recordId, std::uint8_t type, const Bytes& body);

} // namespace Sim
