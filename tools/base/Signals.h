// SPDX-License-Identifier: Apache-2.0
// Signals that a program takes into its own hands while it runs for long.
#pragma once

#include <chrono>
#include <csignal>
#include <initializer_list>

namespace Tool
{

class Signals
{
public:
    Signals(std::initializer_list<int> numbers);

    void add(int number) { sigaddset(&set_, number); }
    /// True when whoever started the program wants it ignored, as nohup does with SIGHUP.
    static bool isIgnored(int number);

    /// On this thread, and on those that it starts from then on.
    void block() const { ::pthread_sigmask(SIG_BLOCK, &set_, nullptr); }
    void unblock() const { ::pthread_sigmask(SIG_UNBLOCK, &set_, nullptr); }
    /// @param handler  a function that may run at any time, or SIG_DFL
    void handle(void (*handler)(int)) const;

    /// Waits for one of them, which are blocked. @return its number
    int wait() const;
    /// Sleeps; those that are blocked are handled meanwhile. @return false when one of them has ended the sleep
    bool sleepUntil(std::chrono::steady_clock::time_point end) const;

private:
    sigset_t set_{};
};

} // namespace Tool
