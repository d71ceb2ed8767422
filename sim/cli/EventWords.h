// The words of ctl event and ctl sel.
#pragma once

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <optional>
#include <string>
#include <vector>

namespace Sim
{

/// ctl event: what happens, at which sensor.
struct EventWords {
    std::string sensor, offset, raw;
    std::vector<std::string> data;
    bool deassert = false;
    unsigned int count = 1;

    CLI::App* addTo(CLI::App& ctl);
    /// For the control. Throws Failure.
    nlohmann::json request() const;
};

/// ctl sel: the log.
struct SelWords {
    bool clear = false;
    std::optional<std::uint32_t> time{};

    CLI::App* addTo(CLI::App& ctl);
    nlohmann::json request() const;
};

void printLogged(const nlohmann::json& answer);
void printEventLog(const nlohmann::json& answer);

} // namespace Sim
