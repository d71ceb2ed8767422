// What one sensor has to show, taken once.
#pragma once

#include "ipmi/IpmiSensor.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

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
    std::optional<double> value; ///< nothing without a reading, and for sensors that give no number; may be not finite
    std::string unit;
    std::optional<std::uint8_t> raw;
    std::string state;                               ///< empty without a reading
    std::array<std::optional<double>, 6> thresholds; ///< as kThresholdKeys; only what can be read
    double step = 1;                                 ///< between two neighbouring values

    /// `number` with as many digits as the sensor's steps have.
    std::string formatted(double number) const;
};

} // namespace Tool
