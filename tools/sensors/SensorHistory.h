// SPDX-License-Identifier: Apache-2.0
// The last values of sensors, drawn as lines of bars.
#pragma once

#include "sensors/SensorView.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace Tool
{

class SensorHistory
{
public:
    static constexpr std::size_t kLength = 16;

    /// One more value of every sensor; always the same sensors in the same order.
    void add(const std::vector<SensorView>& sensors);
    /// One bar for each value of a sensor, oldest first, between its smallest and its largest; a blank where it had
    /// none. Empty when it never had one.
    std::string bars(std::size_t sensor, bool unicode) const;

private:
    using Values = std::deque<std::optional<double>>;

    std::vector<Values> values_;
};

} // namespace Tool
