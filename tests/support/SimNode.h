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

#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

namespace Support
{

class SimNode final : Timed
{
public:
    enum class Serve {
        atOnce,   ///< the answer waits when the send returns; fake time; no thread
        inThread, ///< a thread serves, in real time: for tests with many threads of their own
    };
    static constexpr int kNodes = 16;
    static constexpr unsigned int kOpen = 0; ///< for fail(): not an ioctl but the open

    /// Several at once, each on another node, share time and log. `responder` must outlive the node.
    explicit SimNode(Sim::Responder& responder, int node = 0, Serve serve = Serve::atOnce);
    ~SimNode() override;
    SimNode(const SimNode&) = delete;
    SimNode& operator=(const SimNode&) = delete;

    /// Fake time; not there when a thread serves.
    FakeClock& clock();
    LogCapture& log();
    /// Does something with the driver's side: events, any message, a hang-up, timing.
    void device(const std::function<void(Sim::Device&)>& how);

    /// From the nth open (kOpen) or ioctl with this request on, counted from now, `times` of them fail with `error`.
    void fail(unsigned int request, int error, int nth = 1, int times = 1);
    /// How many opens (kOpen) or ioctls with this request there were.
    int calls(unsigned int request) const;
    /// The device is no longer there for further opens (ENOENT).
    void remove();
    /// What geteuid() says, on all nodes; true at first.
    static void setRoot(bool root);

private:
    struct World;
    struct Failure {
        unsigned int request;
        int error;
        int skip;
        int times;
    };

    std::optional<std::chrono::milliseconds> nextDue() override;
    void act() override;
    int connect();
    void sent();
    int failureOf(unsigned int request);
    void runThread();
    void wake() const;

    static SimNode* at(int node);

    const int node_;
    const Serve serve_;
    std::shared_ptr<World> world_;
    mutable std::recursive_mutex mutex_; ///< a responder may act on its own device
    Sim::Device device_;
    bool removed_ = false;
    std::vector<Failure> failures_;
    std::map<unsigned int, int> calls_; ///< by request
    int wakePipe_[2] = {-1, -1};
    bool stop_ = false;
    std::thread thread_;
};

} // namespace Support
