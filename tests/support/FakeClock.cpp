// SPDX-License-Identifier: Apache-2.0
// Waits that move the time.
#include "support/FakeClock.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace Support
{

using namespace std::chrono;

namespace
{
constexpr seconds kStart{1'700'000'000}; // 2023-11-14
constexpr nanoseconds kMomentForOthers{1'000'000};

timespec soon()
{
    const auto at = system_clock::now().time_since_epoch() + kMomentForOthers;
    return {.tv_sec = duration_cast<seconds>(at).count(), .tv_nsec = (at % seconds(1)).count()};
}
} // namespace

FakeClock::FakeClock() : before_(TRX::Clock::use(this)), wallOffset_(0)
{
    setWallTime(kStart);
}

void FakeClock::sleep(milliseconds duration, int wake)
{
    {
        const std::lock_guard lock(mutex_);
        sleeps_.push_back(static_cast<unsigned int>(duration_cast<seconds>(duration).count()));
    }
    if (onSleep_)
        onSleep_();
    pollfd descriptor{wake, POLLIN, 0};
    waitReadable(&descriptor, 1, steadyTime() + duration);
}

int FakeClock::poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds)
{
    if (atNextPoll_ && (errno = std::exchange(atNextPoll_, nullptr)()) != 0)
        return -1;
    const bool forever = timeoutMilliseconds < 0;
    const milliseconds wait = forever ? hours(24) : milliseconds(timeoutMilliseconds);
    const int ready = waitReadable(descriptors, count, steadyTime() + wait);
    if (ready != 0 || !forever)
        return ready;
    ADD_FAILURE() << "a poll without time-out waits for what never comes";
    errno = EINTR;
    return -1;
}

/// As poll(2); time moves from one thing that is due to the next.
int FakeClock::waitReadable(pollfd* descriptors, nfds_t count, milliseconds end)
{
    for (bool more = true;; more = actUntil(end)) {
        const int ready = ::poll(descriptors, count, 0);
        if (ready != 0 || !more) // looked at once more: another thread may have moved time to the end and beyond
            return ready;
    }
}

/// Moves time to what is due first and lets it happen; false: to the end, and nothing is due before it.
bool FakeClock::actUntil(milliseconds end)
{
    const auto due = nextDue();
    const bool inTime = due && *due <= end;
    now_.store(std::max(now_.load(), (inTime ? *due : end).count()));
    if (inTime)
        for (Timed* timed : timed_)
            timed->act();
    return inTime;
}

std::optional<milliseconds> FakeClock::nextDue()
{
    std::optional<milliseconds> next;
    for (Timed* timed : timed_)
        if (const auto due = timed->nextDue())
            next = std::min(next.value_or(*due), *due);
    return next;
}

void FakeClock::waitUntil(TRX::ConditionVariable& condition, TRX::Mutex& mutex, const timespec& deadline)
{
    if (condition.waitUntil(mutex, soon()))
        return;
    const microseconds at = seconds(deadline.tv_sec) + duration_cast<microseconds>(nanoseconds(deadline.tv_nsec));
    if (at > wallTime())
        advance(ceil<milliseconds>(at - wallTime()));
    if (onWait_)
        onWait_();
}

void FakeClock::advance(milliseconds time)
{
    const milliseconds end = steadyTime() + time;
    while (actUntil(end))
        ;
}

std::vector<unsigned int> FakeClock::sleeps() const
{
    const std::lock_guard lock(mutex_);
    return sleeps_;
}

} // namespace Support
