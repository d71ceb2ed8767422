// /dev/ipmi0 of this process: a simulated device that answers inside the send, in real time, without a thread.
#pragma once

#include "sim/device/Device.h"
#include "sim/shim/Shim.h"

#include <mutex>

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

private:
    int connect();
    void serve();

    std::mutex mutex_;
    Sim::Device device_;
    Sim::Shim::Hooks hooks_;
};

} // namespace Bench
