// SPDX-License-Identifier: Apache-2.0
// Words for the states and events that sensors report by number.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Tool
{

/// Names of the states or events in a mask, bit n for offset n (IPMI 2.0, tables 42-2 and 42-3); "offset 3" where the
/// standard has none.
std::vector<std::string> eventNames(std::uint8_t eventType, std::uint8_t sensorType, unsigned mask);

} // namespace Tool
