// SPDX-License-Identifier: Apache-2.0
// What one sensor has to show, taken once.
#pragma once

#include "base/Json.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool
{

/// Keys of thresholds, lowest first, and their short titles for people.
inline constexpr std::array<std::string_view, 6> kThresholdKeys{"lower_non_recoverable", "lower_critical",
                                                                "lower_non_critical",    "upper_non_critical",
                                                                "upper_critical",        "upper_non_recoverable"};
inline constexpr std::array<std::string_view, 6> kThresholdTitles{"LNR", "LCR", "LNC", "UNC", "UCR", "UNR"};

struct SensorView {
    explicit SensorView(Ipmi::IpmiSensor& sensor);

    std::string name;
    unsigned int number;
    unsigned int owner;
    unsigned int lun;
    unsigned int recordId;
    std::string type;
    unsigned int typeCode;
    Ipmi::IpmiEntity entity;
    bool isNumeric;              ///< gives a number when it has a reading
    std::optional<double> value; ///< nothing without a reading, and for sensors that give no number; may be not finite
    std::string unit;
    std::optional<std::uint8_t> raw;
    std::string state;                               ///< empty without a reading
    std::array<std::optional<double>, 6> thresholds; ///< as kThresholdKeys; only what can be read
    std::optional<std::chrono::milliseconds> age;    ///< of the last good reading
    double step = 1;                                 ///< between two neighbouring values

    /// `number` with as many digits as the sensor's steps have.
    std::string formatted(double number) const;
    /// The same with the sensor's unit.
    std::string withUnit(double number) const;
    /// The value as people read it, without its unit; empty without one.
    std::string valueText() const { return value ? formatted(*value) : ""; }
};

/// As IpmiSensor::getState; empty without a reading.
std::string stateOf(Ipmi::IpmiSensor& sensor);
/// Names of what a sensor with states asserts; none without a reading, and for others.
std::vector<std::string> assertedStates(const Ipmi::IpmiSensor& sensor);

using Sensors = std::vector<TRX::Reference<Ipmi::IpmiSensor>>;
std::vector<SensorView> viewsOf(const Sensors& sensors);

/// All of it, for programs.
Json jsonOf(const SensorView& sensor);
Json jsonOf(const Ipmi::IpmiEntity& entity);

} // namespace Tool
