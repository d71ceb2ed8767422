#include "SimDevice.h"

#include <cerrno>
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
    hooks_.connect = [](void* self, int node) {
        return node == 0 ? static_cast<SimDevice*>(self)->connect() : -ENOENT;
    };
    hooks_.sent = [](void* self, int) { static_cast<SimDevice*>(self)->serve(); };
    Sim::Shim::install(&hooks_);
}

SimDevice::~SimDevice()
{
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
}

} // namespace Bench
