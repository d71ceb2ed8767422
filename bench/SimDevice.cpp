// SPDX-License-Identifier: Apache-2.0
// The simulated device of this process, and its answers in real time.
#include "SimDevice.h"

#include <chrono>

namespace Bench
{

namespace
{

std::chrono::milliseconds now()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace

SimDevice::SimDevice(Sim::Responder& responder) : device_(responder, now)
{
    hooks_.context = this;
    hooks_.connect = [](void* self, int) { return static_cast<SimDevice*>(self)->connect(); };
    hooks_.sent = [](void* self, int) { static_cast<SimDevice*>(self)->serve(); };
    Sim::Shim::install(&hooks_);
}

SimDevice::~SimDevice()
{
    {
        const std::lock_guard hold(mutex_);
        end_ = true;
    }
    changed_.notify_all();
    if (late_.joinable())
        late_.join();
    Sim::Shim::install(nullptr);
}

int SimDevice::connect()
{
    const std::lock_guard hold(mutex_);
    return device_.connect();
}

void SimDevice::serve()
{
    const std::lock_guard hold(mutex_);
    device_.pump();
    if (device_.nextDue())
        changed_.notify_all();
}

void SimDevice::waitForSatellites(std::chrono::milliseconds time)
{
    {
        const std::lock_guard hold(mutex_);
        device_.setIpmbTiming(0, time);
    }
    late_ = std::thread([this] { serveLate(); });
}

void SimDevice::serveLate()
{
    std::unique_lock hold(mutex_);
    while (!end_) {
        if (const auto due = device_.nextDue())
            changed_.wait_for(hold, *due - now());
        else
            changed_.wait(hold);
        device_.pump();
    }
}

} // namespace Bench
