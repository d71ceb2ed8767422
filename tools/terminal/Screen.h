// SPDX-License-Identifier: Apache-2.0
// Standard output that is written again and again until the user has seen enough.
#pragma once

#include "base/Signals.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace Tool
{

/// One at a time. While it lives the program ends with status 0 on Ctrl-C, never in the middle of a write. When it
/// draws in place the cursor is hidden, and back after any end, and while the program is stopped (Ctrl-Z).
class Screen
{
public:
    using Clock = std::chrono::steady_clock;

    struct Size {
        std::size_t rows, columns;
    };

    explicit Screen(bool inPlace);
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Of the terminal now.
    static Size size();
    /// Writes a text: over the one before, cut at the right, when in place. Throws Failure.
    void write(const std::string& text) const;
    /// Waits. True when the text should be written again at once: the terminal has another size now.
    bool waitUntil(Clock::time_point end) const;
    /// Runs what may take long; Ctrl-C ends the program in it.
    static void interruptible(const std::function<void()>& work);

private:
    const Signals signals_{SIGINT, SIGTERM, SIGHUP, SIGTSTP, SIGWINCH};
    bool inPlace_;
};

} // namespace Tool
