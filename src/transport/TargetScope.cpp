// SPDX-License-Identifier: Apache-2.0
// The calling thread's targets.
#include "transport/TargetScope.h"

#include "transport/Channel.h"

#include <utility>

namespace Ipmi
{

namespace
{
thread_local const TargetScope* innermostTarget = nullptr;
} // namespace

TargetScope::TargetScope(int node, std::uint8_t address, std::uint8_t lun, std::uint8_t channel)
    : node_(node), target_{address, lun, channel}, before_(std::exchange(innermostTarget, this))
{
}

TargetScope::~TargetScope()
{
    innermostTarget = before_;
}

Target TargetScope::current(int node)
{
    for (const TargetScope* scope = innermostTarget; scope; scope = scope->before_) {
        if (scope->node_ == node)
            return scope->target_;
    }
    const Channel& channel = channelOf(node);
    return {channel.targetAddress, channel.targetLun, channel.targetChannel};
}

} // namespace Ipmi
