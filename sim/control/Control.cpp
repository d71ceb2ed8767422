// SPDX-License-Identifier: Apache-2.0
// The verbs of the control, and their dispatch.
#include "sim/control/Control.h"

#include "sim/control/CommandNames.h"
#include "sim/control/EventControl.h"
#include "sim/control/NamedSensor.h"
#include "sim/machine/JsonReader.h"

#include <exception>

namespace Sim
{

namespace
{

using nlohmann::json;

constexpr std::int64_t kLongestLatency = 600'000;

std::uint8_t rawFor(const NamedSensor& sensor, double value, JsonObject& request)
{
    if (!sensor.scale)
        request.fail("\"" + sensor.name + "\" has no factors to convert a value with; set it raw, or its states");
    return sensor.scale->nearestRaw(value);
}

/// A reading makes the states of a sensor with thresholds what the thresholds say.
void setRaw(Bmc& bmc, const NamedSensor& sensor, std::uint8_t raw)
{
    bmc.change([&](Machine& machine) {
        Sensor& found = *machine.find(sensor.key);
        found.raw = RawSource::constant(raw);
        found.flags = static_cast<std::uint8_t>(found.flags & ~kReadingUnavailable);
        if (found.hasThresholds())
            found.states.reset();
    });
}

json describe(const Machine& machine, const NamedSensor& named)
{
    const Sensor& sensor = *machine.find(named.key);
    const std::uint8_t raw = sensor.raw.at(sensor.readings);
    json described{{"name", named.name},
                   {"number", named.key.number},
                   {"owner", named.key.owner},
                   {"lun", named.key.lun},
                   {"raw", raw},
                   {"value", nullptr},
                   {"states", nullptr},
                   {"available", (sensor.flags & kReadingUnavailable) == 0}};
    if (named.scale && sensor.hasThresholds())
        described["value"] = named.scale->value(raw);
    if (sensor.states)
        described["states"] = *sensor.states;
    return described;
}

json set(Bmc& bmc, JsonObject& request)
{
    const NamedSensor sensor = findSensor(bmc.machine(), request.text("sensor"));
    const bool value = request.has("value"), raw = request.has("raw"), states = request.has("states"),
               unavailable = request.flag("unavailable", false);
    if (value + raw + states + unavailable != 1)
        request.fail("set one of \"value\", \"raw\", \"states\" and \"unavailable\"");
    if (value)
        setRaw(bmc, sensor, rawFor(sensor, request.number("value"), request));
    if (raw)
        setRaw(bmc, sensor, request.byte("raw"));
    if (states)
        bmc.state()->setStates(sensor.key, static_cast<std::uint16_t>(request.integer("states", 0, 0x7fff)));
    bmc.state()->setUnavailable(sensor.key, unavailable);
    return {{"sensor", describe(bmc.machine(), sensor)}};
}

json faults(Bmc& bmc, JsonObject& request)
{
    bmc.setFaults(parseFaultPlan(request.text("plan"), request.text("source", "plan")));
    return json::object();
}

json counters(Bmc& bmc, JsonObject& request)
{
    json commands = json::array();
    for (const auto& [command, count] : bmc.counts()) {
        const auto [netfn, cmd] = command;
        commands.push_back({{"netfn", netfn}, {"cmd", cmd}, {"name", commandName(netfn, cmd)}, {"count", count}});
    }
    json answer{{"commands", std::move(commands)}, {"total", bmc.count()}, {"random", bmc.faultPosition()}};
    if (request.flag("clear", false))
        bmc.clearCounts();
    return answer;
}

json sensors(Bmc& bmc, JsonObject&)
{
    const Machine machine = bmc.machine();
    json listed = json::array();
    for (const NamedSensor& sensor : namedSensors(machine))
        listed.push_back(describe(machine, sensor));
    return {{"sensors", std::move(listed)}};
}

json latency(Bmc& bmc, JsonObject& request)
{
    bmc.setLatency(std::chrono::milliseconds(request.integer("ms", 0, kLongestLatency)));
    return json::object();
}

struct Verb {
    std::string_view name;
    json (*carryOut)(Bmc&, JsonObject&);
};
constexpr Verb kVerbs[] = {{"set", set},         {"faults", faults},   {"counters", counters}, {"sensors", sensors},
                           {"latency", latency}, {"event", addEvents}, {"sel", eventLog}};

json carryOut(Bmc& bmc, std::string_view line)
{
    const json parsed = parseJson(line, "request");
    JsonObject request(parsed, "request");
    const std::string name = request.text("do");
    for (const Verb& verb : kVerbs) {
        if (verb.name != name)
            continue;
        json answer = verb.carryOut(bmc, request);
        answer["ok"] = true;
        return answer;
    }
    request.fail("do", "must be set, faults, counters, sensors, latency, event or sel");
}

} // namespace

std::string Control::answer(std::string_view request)
{
    json answer;
    try {
        answer = carryOut(bmc_, request);
    } catch (const std::exception& error) {
        answer = {{"error", error.what()}};
    }
    return answer.dump(-1, ' ', true, json::error_handler_t::replace) + '\n';
}

} // namespace Sim
