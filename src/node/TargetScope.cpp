#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"

namespace Ipmi
{

namespace
{
thread_local const TargetScope* innermost = nullptr;
} // namespace

TargetScope::TargetScope(int node, std::uint8_t address, std::uint8_t lun, std::uint8_t channel)
    : node_(node), target_{address, lun, channel}, before_(std::exchange(innermost, this))
{
}

TargetScope::~TargetScope()
{
    innermost = before_;
}

Target TargetScope::current(int node)
{
    for (const TargetScope* scope = innermost; scope; scope = scope->before_) {
        if (scope->node_ == node)
            return scope->target_;
    }
    const IpmiNode& self = g_IpmiNode[node];
    return {self.targetAddress, self.targetLun, self.targetChannel};
}

} // namespace Ipmi
