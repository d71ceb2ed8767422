// SPDX-License-Identifier: Apache-2.0
// ctl's requests, and its answers as text.
#include "sim/cli/CtlVerb.h"

#include "sim/cli/ControlClient.h"
#include "sim/cli/UserMistake.h"
#include "sim/control/ControlServer.h"
#include "sim/machine/InputFile.h"
#include "sim/machine/JsonReader.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <iostream>

namespace Sim
{

namespace
{

using nlohmann::json;

/// A number of C notation, or of Python's: anything that strtod takes whole, but finite.
double numberFrom(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value))
        throw UserMistake("\"" + text + "\" is no number");
    return value;
}

std::string listed(const json& sensor)
{
    const bool available = sensor.at("available").get<bool>();
    const json &states = sensor.at("states"), &value = sensor.at("value");
    return fmt::format("0x{:02x}/{}  0x{:02x}  {:16}  {:4}  {:6}  {}", sensor.at("owner").get<int>(),
                       sensor.at("lun").get<int>(), sensor.at("number").get<int>(),
                       sensor.at("name").get<std::string>(),
                       available ? fmt::format("0x{:02x}", sensor.at("raw").get<int>()) : "-",
                       states.is_null() ? "-" : fmt::format("0x{:04x}", states.get<int>()),
                       available && value.is_number() ? fmt::format("{:.6g}", value.get<double>()) : "-");
}

void printSensors(const json& answer)
{
    std::cout << "OWNER   NUM   NAME              RAW   STATES  VALUE\n";
    for (const json& sensor : answer.at("sensors"))
        std::cout << listed(sensor) << '\n';
}

void printCounters(const json& answer)
{
    std::cout << "NETFN  CMD        COUNT  COMMAND\n";
    for (const json& command : answer.at("commands"))
        std::cout << fmt::format("0x{:02x}   0x{:02x}  {:10}  {}\n", command.at("netfn").get<int>(),
                                 command.at("cmd").get<int>(), command.at("count").get<std::uint64_t>(),
                                 command.at("name").get<std::string>());
    std::cout << fmt::format("total        {:10}\n", answer.at("total").get<std::uint64_t>());
    if (const std::string random = answer.at("random"); !random.empty())
        std::cout << "random faults: " << random << '\n';
}

json setRequest(const CtlOptions& options)
{
    json request{{"do", "set"}, {"sensor", options.sensor}};
    if (!options.value.empty())
        request["value"] = numberFrom(options.value);
    if (!options.raw.empty())
        request["raw"] = options.raw;
    if (!options.states.empty())
        request["states"] = options.states;
    if (options.unavailable)
        request["unavailable"] = true;
    if (request.size() != 3)
        throw UserMistake("set takes one of VALUE, --raw, --states and --unavailable");
    return request;
}

json faultsRequest(const std::string& plan)
{
    json parsed{{"faults", json::array()}};
    if (plan != "none") {
        const Bytes text = readFile(plan);
        parsed = parseJson({reinterpret_cast<const char*>(text.data()), text.size()}, plan);
    }
    return {{"do", "faults"}, {"source", plan}, {"plan", parsed.dump()}};
}

json requestOf(const CtlOptions& options)
{
    json request{{"do", options.verb}};
    if (options.verb == "set")
        request = setRequest(options);
    if (options.verb == "faults")
        request = faultsRequest(options.plan);
    if (options.verb == "counters")
        request["clear"] = options.clear;
    if (options.verb == "latency")
        request["ms"] = options.latency;
    if (options.verb == "event")
        request = eventRequest(options.event);
    if (options.verb == "sel")
        request = selRequest(options.sel);
    return request;
}

} // namespace

void ctlVerb(const CtlOptions& options)
{
    const json answer = askSimulator(options.folder, requestOf(options));
    if (options.asJson)
        std::cout << answer.dump() << '\n';
    else if (options.verb == "sensors")
        printSensors(answer);
    else if (options.verb == "counters")
        printCounters(answer);
    else if (options.verb == "event")
        printLogged(answer);
    else if (options.verb == "sel")
        printEventLog(answer);
    else if (options.verb == "set")
        std::cout << listed(answer.at("sensor")) << '\n';
}

} // namespace Sim
