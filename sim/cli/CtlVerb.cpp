#include "sim/cli/CtlVerb.h"

#include "sim/JsonReader.h"
#include "sim/RawFiles.h"
#include "sim/cli/ControlClient.h"
#include "sim/cli/EventWords.h"
#include "sim/cli/Failure.h"
#include "sim/control/ControlServer.h"

#include <fmt/format.h>

#include <cmath>
#include <iostream>

namespace Sim
{

namespace
{

using nlohmann::json;

constexpr const char* kExamples = R"(Examples:
  trx-bmcsim ctl sensors
  trx-bmcsim ctl set 'CPU Temp' 96.5
  trx-bmcsim ctl set 0x0a --states 0x0002
  trx-bmcsim ctl faults plan.json; trx-bmcsim ctl faults none
  trx-bmcsim ctl counters --clear
  trx-bmcsim ctl event 'CPU Temp' --offset 9 --count 100; trx-bmcsim ctl sel)";

/// A number of C notation, or of Python's: anything that strtod takes whole, but finite.
double numberFrom(const std::string& text)
{
    char* end = nullptr;
    const double value = std::strtod(text.c_str(), &end);
    if (text.empty() || *end != '\0' || !std::isfinite(value))
        throw Failure("\"" + text + "\" is no number");
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

} // namespace

struct CtlVerb::Words {
    std::string folder, sensor, value, raw, states, plan;
    bool unavailable = false, clear = false, asJson = false;
    unsigned int latency = 0;
    EventWords event;
    SelWords sel;

    json setRequest() const;
    json faultsRequest() const;
};

json CtlVerb::Words::setRequest() const
{
    json request{{"do", "set"}, {"sensor", sensor}};
    if (!value.empty())
        request["value"] = numberFrom(value);
    if (!raw.empty())
        request["raw"] = raw;
    if (!states.empty())
        request["states"] = states;
    if (unavailable)
        request["unavailable"] = true;
    if (request.size() != 3)
        throw Failure("set takes one of VALUE, --raw, --states and --unavailable");
    return request;
}

json CtlVerb::Words::faultsRequest() const
{
    json parsed{{"faults", json::array()}};
    if (plan != "none") {
        const Bytes text = readFile(plan);
        parsed = parseJson({reinterpret_cast<const char*>(text.data()), text.size()}, plan);
    }
    return {{"do", "faults"}, {"source", plan}, {"plan", parsed.dump()}};
}

CtlVerb::CtlVerb(CLI::App& app)
    : ctl_(*app.add_subcommand("ctl", "Asks or changes a simulator that serves")), words_(std::make_unique<Words>())
{
    Words& words = *words_;
    ctl_.require_subcommand(1);
    ctl_.footer(kExamples);
    ctl_.add_option("--socket", words.folder, "Where it serves (default: $TRX_BMCSIM_DIR, else as serve)")
        ->type_name("FOLDER");
    CLI::App* set = ctl_.add_subcommand("set", "Sets a sensor's reading");
    set->add_option("SENSOR", words.sensor, "Its name, or NUMBER[@OWNER[/LUN]]")->required();
    set->add_option("VALUE", words.value, "In the sensor's unit");
    set->add_option("--raw", words.raw, "The raw byte")->type_name("N");
    set->add_option("--states", words.states, "States or comparison bits, a mask")->type_name("N");
    set->add_flag("--unavailable", words.unavailable, "No reading");
    CLI::App* faults = ctl_.add_subcommand("faults", "Replaces the fault plan");
    faults->add_option("FILE", words.plan, "A fault plan, or: none")->required();
    CLI::App* counters = ctl_.add_subcommand("counters", "How often each command was asked");
    counters->add_flag("--clear", words.clear, "Counts from zero again");
    CLI::App* sensors = ctl_.add_subcommand("sensors", "Lists the sensors");
    CLI::App* event = words.event.addTo(ctl_);
    CLI::App* sel = words.sel.addTo(ctl_);
    for (CLI::App* verb : {counters, sensors, event, sel})
        verb->add_flag("--json", words.asJson, "As JSON");
    CLI::App* latency = ctl_.add_subcommand("latency", "Time that each answer takes from now on");
    latency->add_option("MS", words.latency, "Milliseconds")->required();
    for (CLI::App* verb : {set, faults, counters, sensors, latency, event, sel})
        verb->fallthrough();
}

CtlVerb::~CtlVerb() = default;

void CtlVerb::run() const
{
    const std::string verb = ctl_.get_subcommands().at(0)->get_name();
    json request{{"do", verb}};
    if (verb == "set")
        request = words_->setRequest();
    if (verb == "faults")
        request = words_->faultsRequest();
    if (verb == "counters")
        request["clear"] = words_->clear;
    if (verb == "latency")
        request["ms"] = words_->latency;
    if (verb == "event")
        request = words_->event.request();
    if (verb == "sel")
        request = words_->sel.request();
    const json answer = askSimulator(words_->folder, request);
    if (words_->asJson)
        std::cout << answer.dump() << '\n';
    else if (verb == "sensors")
        printSensors(answer);
    else if (verb == "counters")
        printCounters(answer);
    else if (verb == "event")
        printLogged(answer);
    else if (verb == "sel")
        printEventLog(answer);
    else if (verb == "set")
        std::cout << listed(answer.at("sensor")) << '\n';
}

} // namespace Sim
