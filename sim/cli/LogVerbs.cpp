// SPDX-License-Identifier: Apache-2.0
// Requests of ctl event and ctl sel, and their answers as text.
#include "sim/cli/LogVerbs.h"

#include "sim/cli/UserMistake.h"

#include <fmt/chrono.h>
#include <nlohmann/json.hpp>

#include <iostream>

namespace Sim
{

using nlohmann::json;

json eventRequest(const EventOptions& options)
{
    const auto& [sensor, offset, raw, data, deassert, count] = options;
    const bool described = !offset.empty() || deassert || !data.empty();
    if (raw.empty() ? sensor.empty() || offset.empty() : !sensor.empty() || described)
        throw UserMistake("event takes SENSOR and --offset, or --raw");
    json request{{"do", "event"}, {"count", count}};
    if (!raw.empty()) {
        request["raw"] = raw;
        return request;
    }
    request["sensor"] = sensor;
    request["offset"] = offset;
    request["deassert"] = deassert;
    if (!data.empty())
        request["data"] = data.size() == 2 ? data[0] + ' ' + data[1] : data[0];
    return request;
}

json selRequest(const SelOptions& options)
{
    json request{{"do", "sel"}, {"clear", options.clear}};
    if (options.time)
        request["time"] = *options.time;
    return request;
}

void printLogged(const json& answer)
{
    if (const auto logged = answer.at("logged").get<unsigned>(); logged == 0)
        std::cout << "not logged: the log is full, or event logging is off\n";
    else
        std::cout << fmt::format("logged {}, the last as record 0x{:04x}\n", logged,
                                 answer.at("last_id").get<unsigned>());
}

void printEventLog(const json& answer)
{
    const json& records = answer.at("records");
    for (const json& record : records)
        std::cout << record.get<std::string>() << '\n';
    const auto time = static_cast<std::time_t>(answer.at("time").get<std::uint32_t>());
    std::cout << fmt::format("{} of {} records{}; its clock says {:%F %T} UTC\n", records.size(),
                             answer.at("capacity").get<std::size_t>(),
                             answer.at("overflow").get<bool>() ? ", some were lost" : "", fmt::gmtime(time));
}

} // namespace Sim
