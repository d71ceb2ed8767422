// SPDX-License-Identifier: Apache-2.0
// A simulated BMC on /dev/ipmi<N> of the test program, with time and log in the test's hands.
//
//     Support::ScriptedBmc bmc;
//     bmc.expect({0x06, 0x01}, {0x00, 0x20, 0x01}).after(40ms);
//     Support::SimNode sim(bmc);
//     ASSERT_GE(IpmiIfcOpenIpmiOpen(0), 0);
//     ... sim.log().has(LOG_ERR, "...")  sim.clock().sleeps() ...
#pragma once

#include "sim/device/Device.h"
#include "support/FakeClock.h"
#include "support/LogCapture.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace Support
{

class SimNode final : Timed
{
public:
    static constexpr int kNodes = 16;
    static constexpr unsigned int kOpen = 0; ///< for fail(): not an ioctl but the open

    /// Several at once, each on another node, share time and log. `responder` must outlive the node.
    explicit SimNode(Sim::Responder& responder, int node = 0);
    ~SimNode() override;
    SimNode(const SimNode&) = delete;
    SimNode& operator=(const SimNode&) = delete;

    FakeClock& clock() { return world_->clock; }
    LogCapture& log() { return world_->log; }
    /// Does something with the driver's side: events, any message, a hang-up, timing.
    void device(const std::function<void(Sim::Device&)>& how);

    /// The nth open (kOpen) or ioctl with this request fails, counted from now.
    void fail(unsigned int request, int error, int nth = 1);
    /// How many opens (kOpen) or ioctls with this request there were.
    int calls(unsigned int request) const;
    /// The device is no longer there for further opens (ENOENT).
    void remove() { removed_ = true; }
    /// What geteuid() says, on all nodes; true at first.
    static void setRoot(bool root);
    /// Whether the program may open more file descriptors; true at first.
    static void setDescriptors(bool left);

private:
    /// What all nodes share, from the first to the last.
    struct World {
        FakeClock clock;
        LogCapture log;

        World();
        ~World();
        static std::shared_ptr<World> get();
    };
    struct Failure {
        int call = 0; ///< the one that fails, counted from 1
        int error = 0;
    };

    std::optional<std::chrono::milliseconds> nextDue() override;
    void act() override;
    int connect();
    int failureOf(unsigned int request);

    static SimNode* at(int node);

    const int node_;
    std::shared_ptr<World> world_ = World::get();
    mutable std::recursive_mutex mutex_; ///< a responder may act on its own device
    Sim::Device device_;
    std::atomic<bool> removed_{false};
    std::map<unsigned int, Failure> failures_; ///< by request
    std::map<unsigned int, int> calls_;
};

} // namespace Support
