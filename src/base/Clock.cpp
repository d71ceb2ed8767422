// SPDX-License-Identifier: Apache-2.0
// The system's clock, and the one in use.
#include "base/Clock.h"

#include <atomic>

namespace TRX
{

namespace
{

class SystemClock final : public Clock
{
public:
    void sleep(std::chrono::milliseconds duration, int wake) override
    {
        const auto end = steadyTime() + duration;
        pollfd descriptor{wake, POLLIN, 0};
        for (auto left = end - steadyTime(); left.count() > 0; left = end - steadyTime())
            if (::poll(&descriptor, 1, static_cast<int>(left.count())) > 0)
                return;
    }

    int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) override
    {
        return ::poll(descriptors, count, timeoutMilliseconds);
    }

    std::chrono::microseconds wallTime() override
    {
        return std::chrono::duration_cast<std::chrono::microseconds>(
            std::chrono::system_clock::now().time_since_epoch());
    }

    std::chrono::milliseconds steadyTime() override
    {
        return std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now().time_since_epoch());
    }

    void waitUntil(ConditionVariable& condition, Mutex& mutex, const timespec& deadline) override TRX_REQUIRES(mutex)
    {
        condition.waitUntil(mutex, deadline);
    }
};

SystemClock& systemClock()
{
    static SystemClock clock;
    return clock;
}

std::atomic<Clock*> installedClock{nullptr};

} // namespace

Clock& Clock::get()
{
    Clock* clock = installedClock.load();
    return clock ? *clock : systemClock();
}

Clock* Clock::use(Clock* clock)
{
    return installedClock.exchange(clock);
}

timespec deadlineAfter(std::chrono::microseconds wait)
{
    const std::int64_t at = (Clock::get().wallTime() + wait).count();
    return {static_cast<time_t>(at / 1'000'000), static_cast<long>(at % 1'000'000 * 1'000)};
}

} // namespace TRX
