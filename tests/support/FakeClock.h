// SPDX-License-Identifier: Apache-2.0
// Time that moves only when somebody waits: sleeps and time-outs pass at once, and answers come when they are due.
#pragma once

#include "base/Clock.h"

#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace Support
{

/// Something that acts by itself when its time comes.
class Timed
{
public:
    virtual ~Timed() = default;
    virtual std::optional<std::chrono::milliseconds> nextDue() = 0;
    virtual void act() = 0;
};

/// The library's clock while it lives. Any thread; attach before threads run.
class FakeClock final : public TRX::Clock
{
public:
    FakeClock();
    ~FakeClock() override { TRX::Clock::use(before_); }

    void sleep(std::chrono::milliseconds duration, int wake) override;
    /// Ready descriptors at once; else time moves to what is due first, again and again, up to the time-out. Waiting
    /// without a time-out for something that never comes is a test's mistake: a failure, and EINTR.
    int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) override;
    std::chrono::microseconds wallTime() override { return steadyTime() + std::chrono::microseconds(wallOffset_); }
    std::chrono::milliseconds steadyTime() override { return std::chrono::milliseconds(now_); }
    /// Gives other threads a moment to signal; without a signal the deadline comes.
    void waitUntil(TRX::ConditionVariable& condition, TRX::Mutex& mutex, const timespec& deadline) override
        TRX_REQUIRES(mutex);

    /// Moves time, with everything that is due on the way.
    void advance(std::chrono::milliseconds time);
    void setWallTime(std::chrono::microseconds time) { wallOffset_ = (time - steadyTime()).count(); }

    /// Seconds of each sleep so far, in order, whether it was cut short or not.
    std::vector<unsigned int> sleeps() const;
    /// Called before each sleep.
    void onSleep(std::function<void()> hook) { onSleep_ = std::move(hook); }
    /// Called after each wait for a deadline.
    void onWait(std::function<void()> hook) { onWait_ = std::move(hook); }
    /// Called before the next poll, which fails with the errno returned; 0: it does not.
    void atNextPoll(std::function<int()> hook) { atNextPoll_ = std::move(hook); }

    void attach(Timed& timed) { timed_.push_back(&timed); }
    void detach(Timed& timed) { std::erase(timed_, &timed); }

private:
    std::optional<std::chrono::milliseconds> nextDue();
    int waitReadable(pollfd* descriptors, nfds_t count, std::chrono::milliseconds end);
    bool actUntil(std::chrono::milliseconds end);

    TRX::Clock* before_;
    std::atomic<std::chrono::milliseconds::rep> now_{1'000'000};
    std::atomic<std::chrono::microseconds::rep> wallOffset_;
    std::vector<Timed*> timed_;
    std::function<void()> onWait_, onSleep_;
    std::function<int()> atNextPoll_;
    mutable std::mutex mutex_;
    std::vector<unsigned int> sleeps_;
};

} // namespace Support
