#include "Failure.h"
#include "Json.h"
#include "NodeSession.h"
#include "Progress.h"
#include "SensorView.h"
#include "Table.h"
#include "Terminal.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fmt/format.h>
#include <vector>

namespace Tool
{

namespace
{

constexpr unsigned kBmcAddress = 0x20;

std::vector<SensorView> readSensors(int node)
{
    const Progress progress("Reading the sensors");
    const NodeSession session(node);
    std::vector<SensorView> views;
    for (const auto& sensor : session.readSensors())
        views.emplace_back(*sensor);
    return views;
}

Json jsonThresholds(const SensorView& sensor)
{
    Json result = Json::object();
    for (std::size_t i = 0; i < kThresholdKeys.size(); ++i) {
        if (sensor.thresholds[i])
            result[std::string(kThresholdKeys[i])] = jsonNumber(*sensor.thresholds[i]);
    }
    return result;
}

void printJson(const std::vector<SensorView>& sensors)
{
    Json list = Json::array();
    for (const SensorView& sensor : sensors) {
        list.push_back({{"name", sensor.name},
                        {"number", sensor.number},
                        {"owner", sensor.owner},
                        {"lun", sensor.lun},
                        {"record_id", sensor.recordId},
                        {"type", sensor.type},
                        {"value", sensor.value ? jsonNumber(*sensor.value) : Json(nullptr)},
                        {"unit", sensor.unit},
                        {"raw", sensor.raw ? Json(*sensor.raw) : Json(nullptr)},
                        {"state", jsonText(sensor.state)},
                        {"thresholds", jsonThresholds(sensor)}});
    }
    writeOut(jsonDocument(Json{{"sensors", std::move(list)}}));
}

Colour colourOf(const std::string& state)
{
    if (state.empty())
        return Colour::kFaint;
    if (state == "ok")
        return Colour::kGreen;
    if (state.find("non-critical") != std::string::npos)
        return Colour::kYellow;
    const bool crossed = state.starts_with("lower ") || state.starts_with("upper ");
    return crossed ? Colour::kRed : Colour::kNone;
}

Table emptyTable()
{
    using enum Table::Align;
    std::vector<Table::Column> columns{{.title = "OWNER", .optional = true},
                                       {.title = "NUM"},
                                       {.title = "NAME"},
                                       {.title = "TYPE"},
                                       {.title = "VALUE", .align = kRight},
                                       {.title = "", .optional = true, .gap = 1},
                                       {.title = "STATE"}};
    for (const auto title : kThresholdTitles)
        columns.push_back({.title = std::string(title), .align = kRight, .optional = true});
    return Table(std::move(columns));
}

std::vector<Table::Cell> row(const SensorView& sensor, bool withOwner)
{
    const std::string value = sensor.value ? sensor.formatted(*sensor.value) : "";
    std::vector<Table::Cell> cells{{withOwner ? fmt::format("0x{:02x}/{}", sensor.owner, sensor.lun) : ""},
                                   {fmt::format("0x{:02x}", sensor.number)},
                                   {sensor.name},
                                   {sensor.type},
                                   {value},
                                   {value.empty() ? "" : sensor.unit},
                                   {sensor.state, colourOf(sensor.state)}};
    for (const auto& threshold : sensor.thresholds)
        cells.push_back({threshold ? sensor.formatted(*threshold) : ""});
    return cells;
}

void print(const std::vector<SensorView>& sensors)
{
    const bool withOwner = std::any_of(sensors.begin(), sensors.end(), [](const SensorView& sensor) {
        return sensor.owner != kBmcAddress || sensor.lun != 0;
    });
    Table table = emptyTable();
    for (const SensorView& sensor : sensors)
        table.add(row(sensor, withOwner));
    writeOut(table.text(colourWanted()));
}

} // namespace

void addSensorsVerb(CLI::App& app, Options& options)
{
    CLI::App* verb = app.add_subcommand("sensors", "All sensors: value, unit, state and thresholds");
    verb->fallthrough()->group("Verbs")->footer("Examples:\n  trx-ipmi sensors\n  trx-ipmi --sim --json sensors");
    verb->callback([&options] {
        options.run = [&options] {
            const std::vector<SensorView> sensors = readSensors(options.node);
            options.json ? printJson(sensors) : print(sensors);
            return kExitFine;
        };
    });
}

} // namespace Tool
