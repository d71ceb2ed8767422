#include "sim/cli/EventWords.h"

#include "sim/cli/Failure.h"

#include <fmt/chrono.h>

#include <iostream>

namespace Sim
{

using nlohmann::json;

CLI::App* EventWords::addTo(CLI::App& ctl)
{
    CLI::App* event = ctl.add_subcommand("event", "Adds an event to the log");
    event->add_option("SENSOR", sensor, "Its name, or NUMBER[@OWNER[/LUN]]");
    event->add_option("--offset", offset, "Which event of the sensor's type, 0 to 15")->type_name("N");
    event->add_flag("--deassert", deassert, "It is over");
    event->add_option("--data", data, "Event data 2 and 3 (default: the threshold twice, or unspecified)")
        ->expected(1, 2)
        ->type_name("HEX");
    event->add_option("--raw", raw, "16 bytes: a record as it is, but for its id")->type_name("HEX");
    event->add_option("--count", count, "So many of them")->type_name("N");
    return event;
}

json EventWords::request() const
{
    const bool described = !offset.empty() || deassert || !data.empty();
    if (raw.empty() ? sensor.empty() || offset.empty() : !sensor.empty() || described)
        throw Failure("event takes SENSOR and --offset, or --raw");
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

CLI::App* SelWords::addTo(CLI::App& ctl)
{
    CLI::App* sel = ctl.add_subcommand("sel", "Lists the event log");
    sel->add_flag("--clear", clear, "Clears it first");
    sel->add_option("--time", time, "Sets its clock, seconds since 1970")->type_name("N");
    return sel;
}

json SelWords::request() const
{
    json request{{"do", "sel"}, {"clear", clear}};
    if (time)
        request["time"] = *time;
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
