// SPDX-License-Identifier: Apache-2.0
// The life of a monitor: all nodes watched, until the end.
#include "monitor/Monitor.h"

#include "base/Failure.h"
#include "ipmi/IpmiNodeControl.h"
#include "monitor/NodeWatch.h"
#include "node/NodeSession.h"

#include <algorithm>
#include <memory>
#include <optional>

namespace Tool
{

namespace
{

constexpr int kWholeLog = 0xffff; ///< more than any BMC has: what is read later is news

using Watches = std::vector<std::unique_ptr<NodeWatch>>;

/// Node 0 comes last, and when the others' loops run: whatever node starts, node 0 is asked for all it has where it is
/// open, its repository included.
Watches begin(const std::vector<int>& nodes, const NodeWatch::Common& common)
{
    Watches watches;
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) {
        watches.push_back(std::make_unique<NodeWatch>(*node, common));
        if (*node != 0)
            watches.back()->awaitLoop();
    }
    return watches;
}

void end(const Watches& watches, const std::string& reason, MonitorLines& lines)
{
    for (const auto& watch : watches)
        watch->stop();
    for (auto watch = watches.rbegin(); watch != watches.rend(); ++watch) {
        if ((*watch)->hasBegun())
            lines.end((*watch)->node(), reason);
    }
}

} // namespace

int monitor(const MonitorPlan& plan)
{
    for (const int node : plan.nodes)
        requireDevice(node);
    Ipmi::KEEP_SEL_NUMBER = kWholeLog;
    Ending ending;
    MonitorLines::Form form = plan.form;
    form.manyNodes = plan.nodes.size() > 1;
    MonitorLines lines(form, ending);
    ServiceManager manager(plan.nodes.size());
    const NodeWatch::Common common{std::chrono::duration<double>(plan.interval), plan.sensors, lines, ending, manager};
    {
        const Watches watches = begin(plan.nodes, common);
        const std::string reason = ending.wait();
        ServiceManager::stopping(reason);
        end(watches, reason, lines);
    }
    if (!ending.trouble().empty())
        throw Failure(ending.trouble());
    return kExitFine;
}

} // namespace Tool
