// SPDX-License-Identifier: Apache-2.0
// sensors: all of them, once or again and again.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "sensors/SensorFacts.h"
#include "sensors/SensorReader.h"
#include "sensors/SensorTable.h"
#include "sensors/SensorView.h"
#include "sensors/SensorWatch.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <optional>

namespace Tool
{

namespace
{

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

void print(const Sensors& sensors, const SensorsOptions& request, bool json)
{
    if (json)
        printJson(sensors, request.verbose);
    else if (request.verbose)
        printFacts(sensors);
    else
        writeOut(sensorTable(viewsOf(sensors)));
}

} // namespace

int sensorsVerb(const Options& options, const SensorsOptions& request)
{
    std::optional<Progress> progress(std::in_place, "Reading the sensors");
    const NodeSession session(options.node);
    Sensors sensors = readSensors(session);
    request.selection.apply(options.node, sensors);
    progress.reset();
    if (request.interval)
        return watchSensors(options.node, sensors,
                            {std::chrono::duration<double>(*request.interval), request.count, options.json});
    print(sensors, request, options.json);
    return kExitFine;
}

} // namespace Tool
