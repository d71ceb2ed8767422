#include "Failure.h"
#include "Monitor.h"
#include "NodeList.h"
#include "Terminal.h"
#include "Verbs.h"

#include <optional>

namespace Tool
{

namespace
{

/// Those of --nodes, or the one of --node.
std::vector<int> nodesOf(const Options& options, const std::optional<std::string>& list)
{
    if (!list)
        return {options.node};
    if (options.nodeGiven)
        throw Failure("--nodes excludes --node: give one of them");
    if (const auto nodes = nodesFrom(*list))
        return *nodes;
    throw Failure("\"" + printable(*list) + "\" are no nodes: give 0 to 3, as 0,2 or 0-3");
}

} // namespace

int monitorVerb(const Options& options, const MonitorOptions& request)
{
    MonitorPlan plan{
        .nodes = nodesOf(options, request.nodes), .interval = request.interval, .sensors = true, .form = {}};
    plan.form.sel.utc = request.utc;
    plan.form.json = options.json;
    return monitor(plan);
}

} // namespace Tool
