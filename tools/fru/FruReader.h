// SPDX-License-Identifier: Apache-2.0
// The FRU devices of a node, and the bytes of one.
#pragma once

#include "fru/FruSelection.h"
#include "node/NodeSession.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tool
{

/// Reads the repository and makes the inventory: all devices, in the repository's order. Throws Failure.
/// @param trouble  out: why devices may be missing, one line; empty when none are
FruDevices readFruDevices(const NodeSession& session, std::string& trouble);

/// All bytes of one. Throws Failure: never half of them.
std::vector<std::uint8_t> readFruImage(const NodeSession& session, const Ipmi::IpmiFruDevice& device);

/// An image that a file has. Throws Failure when it cannot be read or is too long.
std::vector<std::uint8_t> readFruFile(const std::string& path);

} // namespace Tool
