// SPDX-License-Identifier: Apache-2.0
// How the end begins, and what limits it.
#include "monitor/Ending.h"

#include "base/Failure.h"

#include <cstring>
#include <thread>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr int kFromInside = SIGUSR1;
constexpr std::chrono::milliseconds kMoment{900};

} // namespace

Ending::Ending()
{
    if (!Signals::isIgnored(SIGHUP))
        fromOutside_.add(SIGHUP);
    fromOutside_.block();
    Signals{kFromInside}.block();
}

std::string Ending::wait()
{
    Signals all = fromOutside_;
    all.add(kFromInside);
    const int signal = all.wait();
    std::string reason;
    {
        const std::lock_guard hold(lock_);
        hasBegun_ = true;
        reason = trouble_.empty() ? std::string("SIG") + ::sigabbrev_np(signal) : trouble_;
    }
    begun_.notify_all();
    limit();
    return reason;
}

/// A second signal ends the program by its default action, and time does with the right status: the BMC may be busy,
/// and nobody may read what is written.
void Ending::limit() const
{
    std::thread([status = trouble().empty() ? kExitFine : kExitMistake] {
        std::this_thread::sleep_for(kMoment);
        ::_exit(status);
    }).detach();
    fromOutside_.handle(SIG_DFL);
    fromOutside_.unblock();
}

void Ending::begin(const std::string& trouble)
{
    const std::lock_guard hold(lock_);
    if (hasBegun_)
        return;
    hasBegun_ = true;
    trouble_ = trouble;
    begun_.notify_all();
    ::kill(::getpid(), kFromInside);
}

bool Ending::hasBegun() const
{
    const std::lock_guard hold(lock_);
    return hasBegun_;
}

std::string Ending::trouble() const
{
    const std::lock_guard hold(lock_);
    return trouble_;
}

bool Ending::sleepUntil(std::chrono::steady_clock::time_point end)
{
    std::unique_lock hold(lock_);
    return !begun_.wait_until(hold, end, [this] { return hasBegun_; });
}

} // namespace Tool
