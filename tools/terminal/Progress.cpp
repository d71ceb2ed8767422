// SPDX-License-Identifier: Apache-2.0
// A thread that counts the seconds on standard error.
#include "terminal/Progress.h"

#include <chrono>
#include <cstdio>
#include <unistd.h>

namespace Tool
{

Progress::Progress(std::string what) : what_(std::move(what))
{
    if (isatty(STDERR_FILENO) == 1)
        thread_ = std::thread([this] { run(); });
}

Progress::~Progress()
{
    if (!thread_.joinable())
        return;
    {
        const std::lock_guard hold(lock_);
        end_ = true;
    }
    ended_.notify_all();
    thread_.join();
}

void Progress::run()
{
    const auto start = std::chrono::steady_clock::now();
    bool shown = false;
    std::unique_lock hold(lock_);
    for (int second = 1; !ended_.wait_until(hold, start + std::chrono::seconds(second), [this] { return end_; });
         ++second) {
        std::fprintf(stderr, "\r%s ... %d s", what_.c_str(), second);
        shown = true;
    }
    if (shown)
        std::fputs("\r\033[K", stderr);
}

} // namespace Tool
