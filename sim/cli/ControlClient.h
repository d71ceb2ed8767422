// SPDX-License-Identifier: Apache-2.0
// A request to a simulator that serves.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace Sim
{

/// Its answer. `folder`: where it serves; empty: $TRX_BMCSIM_DIR, else the usual one. Throws UserMistake: nobody serves
/// there, or it refuses.
nlohmann::json askSimulator(const std::string& folder, const nlohmann::json& request);

} // namespace Sim
