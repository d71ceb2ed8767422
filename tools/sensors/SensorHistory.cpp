// SPDX-License-Identifier: Apache-2.0
// Keeps the last values, and draws them.
#include "sensors/SensorHistory.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <vector>

namespace Tool
{

namespace
{

constexpr std::size_t kLevels = 8;
constexpr std::array<std::string_view, kLevels> kBlocks{"\u2581", "\u2582", "\u2583", "\u2584",
                                                        "\u2585", "\u2586", "\u2587", "\u2588"};
constexpr std::array<std::string_view, kLevels> kMarks{"_", ".", ":", "-", "=", "+", "*", "#"};

/// 0 for the smallest, and where all are the same; halves, so that the distance of two values is always a number.
std::size_t levelOf(double value, double smallest, double largest)
{
    const double part = (value / 2 - smallest / 2) / (largest / 2 - smallest / 2);
    return std::isfinite(part) ? static_cast<std::size_t>(std::lround(part * (kLevels - 1))) : 0;
}

} // namespace

void SensorHistory::add(const std::vector<SensorView>& sensors)
{
    values_.resize(sensors.size());
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        const auto& value = sensors[i].value;
        values_[i].push_back(value && std::isfinite(*value) ? value : std::nullopt);
        if (values_[i].size() > kLength)
            values_[i].pop_front();
    }
}

std::string SensorHistory::bars(std::size_t sensor, bool unicode) const
{
    std::vector<double> present;
    for (const auto& value : values_.at(sensor)) {
        if (value)
            present.push_back(*value);
    }
    if (present.empty())
        return "";
    const auto [smallest, largest] = std::minmax_element(present.begin(), present.end());
    std::string result;
    for (const auto& value : values_[sensor]) {
        if (value)
            result += (unicode ? kBlocks : kMarks)[levelOf(*value, *smallest, *largest)];
        else
            result += ' ';
    }
    return result;
}

} // namespace Tool
