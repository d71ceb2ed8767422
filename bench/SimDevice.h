// SPDX-License-Identifier: Apache-2.0
// Every /dev/ipmi<N> of this process: one simulated device that answers inside the send, in real time.
#pragma once

#include "sim/device/Device.h"
#include "sim/shim/Shim.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace Bench
{

class SimDevice
{
public:
    /// `responder` must outlive it. One at a time.
    explicit SimDevice(Sim::Responder& responder);
    ~SimDevice();
    SimDevice(const SimDevice&) = delete;
    SimDevice& operator=(const SimDevice&) = delete;

    /// From now on the driver waits so long for a silent controller behind the BMC, without trying again. What comes
    /// later than inside the send is then served by a thread.
    void waitForSatellites(std::chrono::milliseconds time);

private:
    int connect();
    void serve();
    void serveLate();

    std::mutex mutex_;
    Sim::Device device_;
    Sim::Shim::Hooks hooks_;
    std::condition_variable changed_;
    bool end_ = false;
    std::thread late_;
};

} // namespace Bench
