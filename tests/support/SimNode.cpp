#include "support/SimNode.h"

#include "sim/device/RawCall.h"
#include "sim/shim/Shim.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

namespace Support
{

using std::chrono::milliseconds;

namespace
{
Sim::Shim::Hooks hooks;
std::array<SimNode*, SimNode::kNodes> nodes{};

milliseconds realTime()
{
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}
} // namespace

/// What all nodes share, from the first to the last.
struct SimNode::World {
    std::unique_ptr<FakeClock> clock;
    LogCapture log;

    World()
    {
        hooks = {};
        hooks.connect = [](void*, int node) { return at(node) ? at(node)->connect() : -ENOENT; };
        hooks.sent = [](void*, int node) {
            if (at(node))
                at(node)->sent();
        };
        hooks.fail = [](void*, int node, unsigned int request) { return at(node) ? at(node)->failureOf(request) : 0; };
        Sim::Shim::install(&hooks);
    }
    ~World() { Sim::Shim::install(nullptr); }

    static std::shared_ptr<World> get()
    {
        static std::weak_ptr<World> current;
        auto world = current.lock();
        if (!world)
            current = world = std::make_shared<World>();
        return world;
    }
};

SimNode* SimNode::at(int node)
{
    return node >= 0 && node < kNodes ? nodes[static_cast<std::size_t>(node)] : nullptr;
}

SimNode::SimNode(Sim::Responder& responder, int node, Serve serve)
    : node_(node), serve_(serve), world_(World::get()),
      device_(responder, [this] { return serve_ == Serve::inThread ? realTime() : world_->clock->steadyTime(); })
{
    nodes.at(static_cast<std::size_t>(node)) = this;
    if (serve == Serve::atOnce) {
        if (!world_->clock)
            world_->clock = std::make_unique<FakeClock>();
        world_->clock->attach(*this);
        return;
    }
    if (::pipe(wakePipe_) == 0)
        thread_ = std::thread([this] { runThread(); });
}

SimNode::~SimNode()
{
    if (thread_.joinable()) {
        {
            const std::lock_guard lock(mutex_);
            stop_ = true;
        }
        wake();
        thread_.join();
        ::close(wakePipe_[0]);
        ::close(wakePipe_[1]);
    }
    if (world_->clock)
        world_->clock->detach(*this);
    nodes[static_cast<std::size_t>(node_)] = nullptr;
}

FakeClock& SimNode::clock()
{
    return *world_->clock;
}

LogCapture& SimNode::log()
{
    return world_->log;
}

void SimNode::device(const std::function<void(Sim::Device&)>& how)
{
    {
        const std::lock_guard lock(mutex_);
        how(device_);
    }
    wake();
}

void SimNode::fail(unsigned int request, int error, int nth, int times)
{
    const std::lock_guard lock(mutex_);
    failures_.push_back({request, error, nth - 1, times});
}

int SimNode::calls(unsigned int request) const
{
    const std::lock_guard lock(mutex_);
    const auto found = calls_.find(request);
    return found == calls_.end() ? 0 : found->second;
}

int SimNode::failureOf(unsigned int request)
{
    const std::lock_guard lock(mutex_);
    ++calls_[request];
    for (Failure& failure : failures_) {
        if (failure.request != request || failure.times == 0)
            continue;
        if (failure.skip-- > 0)
            continue;
        --failure.times;
        return failure.error;
    }
    return 0;
}

void SimNode::remove()
{
    const std::lock_guard lock(mutex_);
    removed_ = true;
}

void SimNode::setRoot(bool root)
{
    hooks.root = root;
}

std::optional<milliseconds> SimNode::nextDue()
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
    int fd = -ENOENT;
    {
        const std::lock_guard lock(mutex_);
        if (!removed_)
            fd = device_.connect();
    }
    wake();
    return fd;
}

void SimNode::sent()
{
    if (serve_ == Serve::atOnce)
        act();
}

void SimNode::wake() const
{
    if (serve_ == Serve::inThread)
        Sim::rawCall(SYS_write, wakePipe_[1], "", 1);
}

void SimNode::runThread()
{
    for (;;) {
        std::vector<pollfd> waiting{{wakePipe_[0], POLLIN, 0}};
        int timeout = -1;
        {
            const std::lock_guard lock(mutex_);
            if (stop_)
                return;
            device_.pump();
            for (const int fd : device_.descriptors())
                waiting.push_back({fd, POLLIN, 0});
            if (const auto due = device_.nextDue())
                timeout = static_cast<int>(std::clamp<long>((*due - realTime()).count() + 1, 0, 1000));
        }
        ::poll(waiting.data(), waiting.size(), timeout);
        char drained[64];
        if (waiting[0].revents != 0)
            Sim::rawCall(SYS_read, wakePipe_[0], drained, sizeof drained);
    }
}

} // namespace Support
