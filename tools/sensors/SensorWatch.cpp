// SPDX-License-Identifier: Apache-2.0
// Pass after pass: reads, shows, waits.
#include "sensors/SensorWatch.h"

#include "base/Failure.h"
#include "ipmi/IpmiNodeControl.h"
#include "sensors/SensorHistory.h"
#include "sensors/SensorTable.h"
#include "terminal/Screen.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cstdint>
#include <ctime>
#include <fmt/chrono.h>
#include <fmt/format.h>

namespace Tool
{

namespace
{

/// What has been read last, and how it is shown.
class Pass
{
public:
    explicit Pass(const Watch& watch, bool inPlace) : watch_(watch), inPlace_(inPlace) {}

    void take(const Sensors& sensors)
    {
        ++number_;
        time_ = std::time(nullptr);
        views_ = viewsOf(sensors);
        history_.add(views_);
    }
    std::uint64_t number() const { return number_; }
    std::string text() const
    {
        return watch_.json ? json() : inPlace_ ? columns(room()) : columns(views_.size()) + '\n';
    }

private:
    std::string json() const;
    std::string columns(std::size_t most) const;
    std::string ageOf(const SensorView& sensor) const;
    std::size_t room() const;

    const Watch& watch_;
    bool inPlace_;
    std::uint64_t number_ = 0;
    std::time_t time_ = 0;
    std::vector<SensorView> views_;
    SensorHistory history_;
};

std::string Pass::json() const
{
    Json sensors = Json::array();
    for (const SensorView& sensor : views_)
        sensors.push_back(jsonOf(sensor));
    return jsonLine(
        {{"pass", number_}, {"time", fmt::format("{:%FT%TZ}", fmt::gmtime(time_))}, {"sensors", std::move(sensors)}});
}

/// Of a reading that should have been replaced by now.
std::string Pass::ageOf(const SensorView& sensor) const
{
    using namespace std::chrono;
    if (!sensor.age || *sensor.age <= watch_.interval)
        return "";
    const auto age = duration_cast<seconds>(*sensor.age);
    if (age < minutes(2))
        return fmt::format("{} s", age.count());
    return age < hours(2) ? fmt::format("{} min", age.count() / 60) : fmt::format("{} h", age.count() / 3600);
}

/// How many sensors a terminal has lines for, beside heading, titles, the line of what is hidden, and the cursor's.
std::size_t Pass::room() const
{
    constexpr std::size_t kAround = 3;
    const std::size_t rows = Screen::size().rows;
    if (views_.size() + kAround <= rows)
        return views_.size();
    return rows > kAround + 1 ? rows - kAround - 1 : 0;
}

std::string Pass::columns(std::size_t most) const
{
    using enum Table::Align;
    Table table({{.title = "OWNER", .optional = true},
                 {.title = "NUM"},
                 {.title = "NAME"},
                 {.title = "VALUE", .align = kRight},
                 {.title = "", .optional = true, .gap = 1},
                 {.title = "STATE"},
                 {.title = "HISTORY"},
                 {.title = "AGE", .align = kRight, .optional = true}});
    const std::vector<std::string> owners = ownerTexts(views_);
    for (std::size_t i = 0; i < most; ++i) {
        std::vector<Table::Cell> cells = readingCells(views_[i]);
        cells.insert(cells.begin(), {{owners[i]}, {fmt::format("0x{:02x}", views_[i].number)}, {views_[i].name}});
        cells.push_back({history_.bars(i, unicodeWanted())});
        cells.push_back({ageOf(views_[i])});
        table.add(std::move(cells));
    }
    std::string text =
        fmt::format("{:%T}  every {} s, pass {}\n", fmt::localtime(time_), watch_.interval.count(), number_);
    text += table.text(colourWanted());
    if (most < views_.size())
        text += fmt::format("{} more below: --entity and --type choose\n", views_.size() - most);
    return text;
}

} // namespace

int watchSensors(int node, const Sensors& sensors, const Watch& watch)
{
    const auto interval = std::chrono::duration_cast<Screen::Clock::duration>(watch.interval);
    const Screen screen(onTerminal() && !watch.json);
    Pass pass(watch, onTerminal());
    for (auto next = Screen::Clock::now();; next = std::max(next + interval, Screen::Clock::now())) {
        while (screen.waitUntil(next))
            screen.write(pass.text());
        if (pass.number() > 0)
            Screen::interruptible([node] { Ipmi::IpmiIfcSensorRefreshAll(node); });
        pass.take(sensors);
        screen.write(pass.text());
        if (pass.number() == watch.count)
            return kExitFine;
    }
}

} // namespace Tool
