// SPDX-License-Identifier: Apache-2.0
// The whole SDR repository as raw records.
#pragma once

#include "node/NodeSession.h"

#include <cstdint>
#include <vector>

namespace Tool
{

/// All records as stored, one after another, in the repository's order. Throws Failure: never half a repository.
std::vector<std::uint8_t> readRepository(const NodeSession& session);

} // namespace Tool
