// SPDX-License-Identifier: Apache-2.0
// Columns and colours of sensors.
#include "sensors/SensorTable.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool
{

namespace
{

constexpr unsigned kBmcAddress = 0x20;

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

} // namespace

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

std::vector<Table::Cell> readingCells(const SensorView& sensor)
{
    const std::string value = sensor.valueText();
    return {{value}, {value.empty() ? "" : sensor.unit}, {sensor.state, colourOf(sensor.state)}};
}

std::vector<std::string> ownerTexts(const std::vector<SensorView>& sensors)
{
    std::vector<std::string> texts(sensors.size());
    const bool allOwn = std::all_of(sensors.begin(), sensors.end(), [](const SensorView& sensor) {
        return sensor.owner == kBmcAddress && sensor.lun == 0;
    });
    for (std::size_t i = 0; i < sensors.size() && !allOwn; ++i)
        texts[i] = fmt::format("0x{:02x}/{}", sensors[i].owner, sensors[i].lun);
    return texts;
}

std::string sensorTable(const std::vector<SensorView>& sensors)
{
    Table table = emptyTable();
    const std::vector<std::string> owners = ownerTexts(sensors);
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        const SensorView& sensor = sensors[i];
        std::vector<Table::Cell> cells{
            {owners[i]}, {fmt::format("0x{:02x}", sensor.number)}, {sensor.name}, {sensor.type}};
        for (Table::Cell& cell : readingCells(sensor))
            cells.push_back(std::move(cell));
        for (const auto& threshold : sensor.thresholds)
            cells.push_back({threshold ? sensor.formatted(*threshold) : ""});
        table.add(std::move(cells));
    }
    return table.text(colourWanted());
}

} // namespace Tool
