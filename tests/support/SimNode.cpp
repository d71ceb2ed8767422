// SPDX-License-Identifier: Apache-2.0
// What the test program's nodes share, and a node's place in it.
#include "support/SimNode.h"

#include "sim/shim/Shim.h"

#include <sys/resource.h>

#include <array>
#include <cerrno>

namespace Support
{

namespace
{
Sim::Shim::Hooks hooks;
std::array<SimNode*, SimNode::kNodes> nodes{};
} // namespace

SimNode::World::World()
{
    hooks = {};
    hooks.connect = [](void*, int node) { return at(node) ? at(node)->connect() : -ENOENT; };
    hooks.sent = [](void*, int node) {
        if (at(node))
            at(node)->act(); // the answer waits when the send returns
    };
    hooks.fail = [](void*, int node, unsigned int request) { return at(node) ? at(node)->failureOf(request) : 0; };
    Sim::Shim::install(&hooks);
}

SimNode::World::~World()
{
    Sim::Shim::install(nullptr);
}

std::shared_ptr<SimNode::World> SimNode::World::get()
{
    static std::weak_ptr<World> current;
    auto world = current.lock();
    if (!world)
        current = world = std::make_shared<World>();
    return world;
}

SimNode* SimNode::at(int node)
{
    return node >= 0 && node < kNodes ? nodes[static_cast<std::size_t>(node)] : nullptr;
}

SimNode::SimNode(Sim::Responder& responder, int node)
    : node_(node), device_(responder, [this] { return world_->clock.steadyTime(); })
{
    nodes.at(static_cast<std::size_t>(node)) = this;
    world_->clock.attach(*this);
}

SimNode::~SimNode()
{
    world_->clock.detach(*this);
    nodes[static_cast<std::size_t>(node_)] = nullptr;
}

void SimNode::device(const std::function<void(Sim::Device&)>& how)
{
    const std::lock_guard lock(mutex_);
    how(device_);
}

void SimNode::fail(unsigned int request, int error, int nth)
{
    const std::lock_guard lock(mutex_);
    failures_[request] = {calls_[request] + nth, error};
}

int SimNode::calls(unsigned int request) const
{
    const std::lock_guard lock(mutex_);
    return calls_.contains(request) ? calls_.at(request) : 0;
}

int SimNode::failureOf(unsigned int request)
{
    const std::lock_guard lock(mutex_);
    const Failure& failure = failures_[request];
    return ++calls_[request] == failure.call ? failure.error : 0;
}

void SimNode::setRoot(bool root)
{
    hooks.root = root;
}

void SimNode::setDescriptors(bool left)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = left ? limit.rlim_max : 0;
    setrlimit(RLIMIT_NOFILE, &limit);
}

std::optional<std::chrono::milliseconds> SimNode::nextDue()
{
    const std::lock_guard lock(mutex_);
    return device_.nextDue();
}

void SimNode::act()
{
    const std::lock_guard lock(mutex_);
    device_.pump();
}

int SimNode::connect()
{
    const std::lock_guard lock(mutex_);
    return removed_ ? -ENOENT : device_.connect();
}

} // namespace Support
