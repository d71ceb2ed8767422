// SPDX-License-Identifier: Apache-2.0
// Lines of the monitor, put together and written.
#include "monitor/MonitorLines.h"

#include "base/Failure.h"
#include "sensors/SensorTable.h"

#include <ctime>
#include <fmt/chrono.h>
#include <fmt/format.h>

namespace Tool
{

namespace
{

std::string orNothing(const std::string& words)
{
    return words.empty() ? "no reading" : words;
}

std::string lineOf(const std::vector<Table::Cell>& cells)
{
    std::string line;
    for (const Table::Cell& cell : cells) {
        if (cell.text.empty())
            continue;
        line += line.empty() ? "" : "  ";
        line += coloured(printable(cell.text), colourWanted() ? cell.colour : Colour::kNone);
    }
    return line + '\n';
}

} // namespace

void MonitorLines::start(int node, double interval, std::size_t sensors, unsigned int records)
{
    tell("start", node, {{"interval", interval}, {"sensors", sensors}, {"records", records}},
         {{fmt::format("watching, every {} s: {} sensors, {} records in the event log", interval, sensors, records)}});
}

/// With the time that the record bears.
void MonitorLines::event(int node, const Ipmi::IpmiSelData& record, const SelSensorNames& names)
{
    Cells cells = cellsOf(record, names, form_.sel);
    const std::string time = cells.at(1).text;
    cells.erase(cells.begin(), cells.begin() + 2); // its id, its time
    tell("event", node, {{"record", jsonOf(record, names, form_.sel)}}, std::move(cells), time);
}

void MonitorLines::sensor(int node, const SensorChange& change)
{
    const SensorView view(*change.sensor);
    tell("sensor", node, {{"previous_state", jsonText(change.before.code)}, {"sensor", jsonOf(view)}},
         {{view.name},
          {orNothing(change.before.words) + " -> " + orNothing(change.now.words), colourOf(change.now.code)},
          {view.value ? view.withUnit(*view.value) : ""}});
}

void MonitorLines::lost(int node, const std::string& why)
{
    tell("lost", node, {{"reason", why}}, {{"lost: " + why, Colour::kRed}});
}

void MonitorLines::regained(int node)
{
    tell("regained", node, Json::object(), {{"regained: the BMC answers again", Colour::kGreen}});
}

void MonitorLines::end(int node, const std::string& reason)
{
    tell("end", node, {{"reason", reason}}, {{"end: " + reason}});
}

void MonitorLines::tell(const char* kind, int node, Json facts, Cells cells)
{
    tell(kind, node, std::move(facts), std::move(cells), now());
}

void MonitorLines::tell(const char* kind, int node, Json facts, Cells cells, const std::string& time)
{
    if (form_.json) {
        Json line{{"kind", kind}, {"time", fmt::format("{:%FT%TZ}", fmt::gmtime(std::time(nullptr)))}, {"node", node}};
        line.update(facts);
        return write(jsonLine(line));
    }
    if (form_.manyNodes)
        cells.insert(cells.begin(), {fmt::format("node {}", node)});
    cells.insert(cells.begin(), {time});
    write(lineOf(cells));
}

std::string MonitorLines::now() const
{
    const std::time_t time = std::time(nullptr);
    return fmt::format("{:%F %T}", form_.sel.utc ? fmt::gmtime(time) : fmt::localtime(time));
}

void MonitorLines::write(const std::string& line)
{
    const std::lock_guard hold(lock_);
    try {
        writeOut(line);
    } catch (const Failure& failure) {
        ending_.begin(failure.what());
    }
}

} // namespace Tool
