// SPDX-License-Identifier: Apache-2.0
// Names of IPMI commands for people.
#pragma once

#include <cstdint>
#include <string_view>

namespace Sim
{

/// As IPMI 2.0 calls it; empty where this simulator has no name for it.
std::string_view commandName(std::uint8_t netfn, std::uint8_t cmd);

} // namespace Sim
