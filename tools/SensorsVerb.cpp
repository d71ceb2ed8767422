#include "Failure.h"
#include "Interval.h"
#include "Json.h"
#include "NodeSession.h"
#include "Progress.h"
#include "SensorFacts.h"
#include "SensorSelection.h"
#include "SensorTable.h"
#include "SensorView.h"
#include "SensorWatch.h"
#include "Terminal.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

namespace Tool
{

namespace
{

/// What the command line said of the sensors.
struct Request {
    SensorSelection selection;
    std::optional<double> interval; ///< seconds between passes; nothing: look once
    std::optional<unsigned> count;
    bool verbose = false;
};

void printJson(const Sensors& sensors, bool verbose)
{
    Json list = Json::array();
    for (const auto& sensor : sensors) {
        const SensorView view(*sensor);
        list.push_back(verbose ? jsonWithFacts(*sensor, view) : jsonOf(view));
    }
    writeOut(jsonDocument(Json{{"sensors", std::move(list)}}));
}

void printFacts(const Sensors& sensors)
{
    std::string text;
    for (const auto& sensor : sensors) {
        text += text.empty() ? "" : "\n";
        text += textOfFacts(*sensor, SensorView(*sensor));
    }
    writeOut(text);
}

void print(const Sensors& sensors, const Request& request, bool json)
{
    if (json)
        printJson(sensors, request.verbose);
    else if (request.verbose)
        printFacts(sensors);
    else
        writeOut(sensorTable(viewsOf(sensors)));
}

int run(const Options& options, const Request& request)
{
    std::optional<Progress> progress(std::in_place, "Reading the sensors");
    const NodeSession session(options.node);
    Sensors sensors = session.readSensors();
    request.selection.apply(options.node, sensors);
    progress.reset();
    if (request.interval)
        return watchSensors(options.node, sensors,
                            {std::chrono::duration<double>(*request.interval), request.count, options.json});
    print(sensors, request, options.json);
    return kExitFine;
}

constexpr unsigned kMostPasses = 1'000'000'000;

void addOptions(CLI::App& verb, Request& request)
{
    verb.add_option("--entity", request.selection.entity,
                    "Only those of a part of the server, or inside it: 7.1, 7, "
                    "0x07, \"system board\" or \"system board 1\"")
        ->type_name("ENTITY");
    verb.add_option("--type", request.selection.type, "Only those of a sensor type: its name or code")
        ->type_name("TYPE");
    CLI::Option* verbose = verb.add_flag("--verbose", request.verbose, "All that the records say");
    CLI::Option* watch = verb.add_option("--watch", request.interval, "Again and again, until Ctrl-C")
                             ->type_name("SECONDS")
                             ->check(checkInterval)
                             ->excludes(verbose);
    verb.add_option("--count", request.count, "With --watch: end after as many times")
        ->type_name("N")
        ->check(CLI::Range(1U, kMostPasses))
        ->needs(watch);
}

} // namespace

void addSensorsVerb(CLI::App& app, Options& options)
{
    CLI::App* verb = app.add_subcommand("sensors", "All sensors: value, unit, state and thresholds");
    auto request = std::make_shared<Request>();
    addOptions(*verb, *request);
    verb->fallthrough()->group("Verbs")->footer(R"(Examples:
  trx-ipmi sensors
  trx-ipmi --sim --json sensors
  trx-ipmi sensors --type temperature --watch 2
  trx-ipmi sensors --entity 7.1 --verbose)");
    verb->callback([&options, request] { options.run = [&options, request] { return run(options, *request); }; });
}

} // namespace Tool
