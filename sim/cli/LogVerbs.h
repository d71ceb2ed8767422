// SPDX-License-Identifier: Apache-2.0
// ctl event and ctl sel: what they ask, and how they show the answer.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Sim
{

/// What happens, at which sensor.
struct EventOptions {
    std::string sensor{}, offset{}, raw{};
    std::vector<std::string> data{};
    bool deassert = false;
    unsigned int count = 1;
};

struct SelOptions {
    bool clear = false;
    std::optional<std::uint32_t> time{};
};

/// For the control. Throws UserMistake.
nlohmann::json eventRequest(const EventOptions& options);
nlohmann::json selRequest(const SelOptions& options);

void printLogged(const nlohmann::json& answer);
void printEventLog(const nlohmann::json& answer);

} // namespace Sim
