// SPDX-License-Identifier: Apache-2.0
// From a sensor's raw byte to its value and back: IPMI 2.0, Sensor Reading Conversion Formula.
#pragma once

#include "sim/machine/Machine.h"

#include <cstdint>

namespace Sim
{

/// value = L((M x + B 10^K1) 10^K2)
struct SensorScale {
    RawFormat format = RawFormat::isUnsigned;
    std::uint8_t linearization = 0; ///< 0 linear .. 11 cube root; 70h and above count as linear
    int m = 1;                      ///< -512..511
    int b = 0;                      ///< -512..511
    int bExponent = 0;              ///< K1, -8..7
    int resultExponent = 0;         ///< K2, -8..7

    /// The value of a raw byte; may be infinite or no number (logarithm of a negative one).
    double value(std::uint8_t raw) const;
    /// The raw byte whose value is nearest.
    std::uint8_t nearestRaw(double value) const;
};

} // namespace Sim
