// SPDX-License-Identifier: Apache-2.0
// Who hears of new events.
#include "node/IpmiNode.h"
#include "sel/FlagScope.h"
#include "sel/IpmiIfcSel.h"
#include "sel/SelTime.h"

#include <algorithm>

namespace Ipmi
{

namespace
{

thread_local bool callsHandlers = false;

bool isToBeReported(const IpmiSelData& record, std::uint32_t since)
{
    return record.isSelEventRecord() && (record.messageTimeStamp() > since || since == kNoSelTime);
}

/// The first record to be reported from `position` on, and `position` behind it; an empty handle where there is none.
TRX::Reference<IpmiSelData> nextToReport(IpmiNode& self, std::uint32_t since, std::size_t& position)
{
    TRX::MutexLock hold(self.selLock);
    const auto& records = self.sel.records;
    while (position < records.size())
        if (const auto& record = records[position++]; isToBeReported(*record, since))
            return record;
    return {};
}

std::vector<SelHandler> handlersOf(IpmiNode& self)
{
    TRX::MutexLock hold(self.selLock);
    return self.sel.handlers;
}

bool isRegistered(IpmiNode& self, const SelHandler& handler)
{
    TRX::MutexLock hold(self.selLock);
    return std::ranges::find(self.sel.handlers, handler.serial, &SelHandler::serial) != self.sel.handlers.end();
}

} // namespace

int IpmiIfcSelGenerateEvents(int node, unsigned int since)
{
    if (!isNode(node) || g_IpmiNode[node].state == IpmiIfc::IPMI_STATE_CLI)
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    std::size_t position;
    {
        TRX::MutexLock hold(self.selLock);
        position = self.sel.firstNewer(since);
    }
    while (const auto record = nextToReport(self, since, position))
        forEachSelHandler(node, [&](const SelHandler& handler) { handler.function(handler.argument, record.get()); });
    return 0;
}

void forEachSelHandler(int node, const std::function<void(const SelHandler&)>& call)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock turn(self.selCheckLock); // a node's handlers are called by one thread at a time
    const FlagScope handling(self.selHandling), here(callsHandlers);
    for (const SelHandler& handler : handlersOf(self))
        if (isRegistered(self, handler))
            call(handler);
}

bool isInSelHandler()
{
    return callsHandlers;
}

void IpmiIfcSelCleanUpEventHandlers(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    self.sel.handlers.clear();
}

int IpmiIfc::registerSelEventHandler(int node, SelEventHandler handler, void* argument)
{
    if (!handler || !isNode(node))
        return IPMI_RESULT_BAD_ARGUMENT;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    auto& handlers = self.sel.handlers;
    if (std::ranges::find(handlers, handler, &SelHandler::function) != handlers.end())
        return IPMI_RESULT_ALREADY_THERE;
    handlers.insert(handlers.begin(), {handler, argument, self.sel.registrations++});
    return 0;
}

int IpmiIfc::unRegisterSelEventHandler(int node, SelEventHandler handler)
{
    if (!handler || !isNode(node))
        return IPMI_RESULT_BAD_ARGUMENT;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    auto& handlers = self.sel.handlers;
    const auto found = std::ranges::find(handlers, handler, &SelHandler::function);
    if (found == handlers.end())
        return IPMI_RESULT_NOT_FOUND;
    handlers.erase(found);
    return 0;
}

} // namespace Ipmi
