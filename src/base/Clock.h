// SPDX-License-Identifier: Apache-2.0
// The one seam for time: every sleep, wait and clock reading of the library goes through it.
#pragma once

#include "base/Mutex.h"

#include <poll.h>

#include <chrono>
#include <ctime>

namespace TRX
{

class Clock
{
public:
    virtual ~Clock() = default;

    /// For so long, but no longer than until the descriptor `wake`, where it is not -1, is readable.
    virtual void sleep(std::chrono::milliseconds duration, int wake) = 0;
    /// As poll(2), EINTR included.
    virtual int poll(pollfd* descriptors, nfds_t count, int timeoutMilliseconds) = 0;
    /// Time since 1970-01-01 00:00:00 UTC.
    virtual std::chrono::microseconds wallTime() = 0;
    /// Time that never jumps, from an arbitrary start.
    virtual std::chrono::milliseconds steadyTime() = 0;
    /// Waits on `condition` until it is signalled or the wall clock passes `deadline`.
    virtual void waitUntil(ConditionVariable& condition, Mutex& mutex, const timespec& deadline)
        TRX_REQUIRES(mutex) = 0;

    /// The clock in use; the system's unless another was installed.
    static Clock& get();
    /// Installs `clock` (null: the system's) and returns the one before it. Not while other threads run.
    static Clock* use(Clock* clock);
};

/// The wall clock's time so many microseconds from now, for waitUntil().
timespec deadlineAfter(std::chrono::microseconds wait);

} // namespace TRX
