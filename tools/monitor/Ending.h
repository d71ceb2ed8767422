// SPDX-License-Identifier: Apache-2.0
// When and why a program that runs until it is told to stop does so.
#pragma once

#include "base/Signals.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace Tool
{

/// One at a time, made before any other thread. SIGINT, SIGTERM and SIGHUP (unless that is ignored, as under nohup)
/// begin the end, a second one ends the program at once. Members may be called from any thread unless they say
/// otherwise.
class Ending
{
public:
    Ending();
    Ending(const Ending&) = delete;
    Ending& operator=(const Ending&) = delete;

    /// Waits for a signal or for trouble; gives the signal's name, or the trouble. What follows has a moment: the
    /// program ends then, wherever it is. For the main thread, once.
    std::string wait();
    /// Begins the end because of something that went wrong; counts unless it has begun.
    void begin(const std::string& trouble);

    bool hasBegun() const;
    /// One line; empty when all is well.
    std::string trouble() const;
    /// Sleeps; at most until the end begins. @return false when it has
    bool sleepUntil(std::chrono::steady_clock::time_point end);

private:
    void limit() const;

    Signals fromOutside_{SIGINT, SIGTERM};
    mutable std::mutex lock_;
    std::condition_variable begun_;
    bool hasBegun_ = false;
    std::string trouble_;
};

} // namespace Tool
