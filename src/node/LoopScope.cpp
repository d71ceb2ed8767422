// SPDX-License-Identifier: Apache-2.0
// The loops of the calling thread.
#include "node/LoopScope.h"

#include "node/IpmiNode.h"

#include <utility>

namespace Ipmi
{

namespace
{
thread_local const LoopScope* innermostLoop = nullptr;
} // namespace

LoopScope::LoopScope(int node) : node_(node), before_(std::exchange(innermostLoop, this)) {}

LoopScope::~LoopScope()
{
    innermostLoop = before_;
}

bool LoopScope::isIn(int node)
{
    for (const LoopScope* scope = innermostLoop; scope; scope = scope->before_)
        if (scope->node_ == node)
            return true;
    return g_IpmiNode[node].selCheckLock.isOwner();
}

} // namespace Ipmi
