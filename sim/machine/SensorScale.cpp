// SPDX-License-Identifier: Apache-2.0
// The conversion formula, its linearizations, and the way back.
#include "sim/machine/SensorScale.h"

#include <cmath>

namespace Sim
{

double SensorScale::value(std::uint8_t raw) const
{
    Sensor number;
    number.format = format;
    const double linear = (m * number.ordered(raw) + b * std::pow(10, bExponent)) * std::pow(10, resultExponent);
    switch (linearization) {
    case 1:
        return std::log(linear);
    case 2:
        return std::log10(linear);
    case 3:
        return std::log2(linear);
    case 4:
        return std::exp(linear);
    case 5:
        return std::pow(10, linear);
    case 6:
        return std::exp2(linear);
    case 7:
        return 1 / linear;
    case 8:
        return linear * linear;
    case 9:
        return linear * linear * linear;
    case 10:
        return std::sqrt(linear);
    case 11:
        return std::cbrt(linear);
    default:
        return linear;
    }
}

std::uint8_t SensorScale::nearestRaw(double wanted) const
{
    std::uint8_t best = 0;
    double distance = INFINITY;
    for (unsigned raw = 0; raw < 256; ++raw) {
        const double here = std::abs(value(static_cast<std::uint8_t>(raw)) - wanted);
        if (here < distance) { // never true for what is no number
            distance = here;
            best = static_cast<std::uint8_t>(raw);
        }
    }
    return best;
}

} // namespace Sim
