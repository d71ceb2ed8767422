#include "Failure.h"
#include "Interval.h"
#include "Monitor.h"
#include "NodeList.h"
#include "Terminal.h"
#include "Verbs.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>

namespace Tool
{

namespace
{

/// Which nodes: those of --nodes, or the one of --node.
void chooseNodes(MonitorPlan& plan, const std::optional<std::string>& list, const Options& options, bool nodeGiven)
{
    plan.nodes = {options.node};
    if (!list)
        return;
    if (nodeGiven)
        throw Failure("--nodes excludes --node: give one of them");
    const auto nodes = nodesFrom(*list);
    if (!nodes)
        throw Failure("\"" + printable(*list) + "\" are no nodes: give 0 to 3, as 0,2 or 0-3");
    plan.nodes = *nodes;
}

} // namespace

void addMonitorVerb(CLI::App& app, Options& options)
{
    struct Request {
        MonitorPlan plan;
        std::optional<std::string> nodes;
    };
    const auto request = std::make_shared<Request>();
    CLI::App* verb = app.add_subcommand("monitor", "A line for each event and each change of a sensor's state");
    verb->add_option("--interval", request->plan.interval, "Time between two looks; 10 when not given")
        ->type_name("SECONDS")
        ->check(checkInterval);
    verb->add_option("--nodes", request->nodes, "Several BMCs: 0,2 or 0-3")->type_name("LIST");
    verb->add_flag("--utc", request->plan.form.sel.utc, "Times in UTC, not local ones");
    verb->fallthrough()->group("Verbs")->footer(R"(Examples:
  trx-ipmi monitor
  trx-ipmi monitor --interval 2 --nodes 0,1
  trx-ipmi --sim --json monitor)");
    verb->callback([&app, &options, request] {
        options.run = [&app, &options, request] {
            chooseNodes(request->plan, request->nodes, options, app.count("--node") > 0);
            request->plan.form.json = options.json;
            return monitor(request->plan);
        };
    });
}

} // namespace Tool
