// SPDX-License-Identifier: Apache-2.0
// monitor: which nodes to watch, and how.
#include "base/Failure.h"
#include "base/Number.h"
#include "cli/Verbs.h"
#include "ipmi/IpmiRecords.h"
#include "monitor/Monitor.h"
#include "terminal/Terminal.h"

#include <optional>
#include <set>
#include <string_view>
#include <vector>

namespace Tool
{

namespace
{

/// "2" or "0-2". @return false for every other text
bool add(std::string_view part, std::set<int>& nodes)
{
    const auto dash = part.find('-');
    const auto first = byteFrom(part.substr(0, dash));
    const auto last = dash == part.npos ? first : byteFrom(part.substr(dash + 1));
    if (!first || !last || *first > *last || *last >= Ipmi::kNodeCount)
        return false;
    for (int node = *first; node <= *last; ++node)
        nodes.insert(node);
    return true;
}

/// "0", "0,2" or "0-3", in any order and mix; ascending, each once. Nothing for every other text, and for a node that
/// there cannot be.
std::optional<std::vector<int>> nodesFrom(std::string_view text)
{
    std::set<int> nodes;
    for (;;) {
        const auto comma = text.find(',');
        if (!add(text.substr(0, comma), nodes))
            return std::nullopt;
        if (comma == text.npos)
            return std::vector<int>(nodes.begin(), nodes.end());
        text.remove_prefix(comma + 1);
    }
}

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
