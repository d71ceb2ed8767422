#include "monitor/Ending.h"

#include "base/Failure.h"

#include <array>
#include <cstring>
#include <thread>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr std::array<int, 3> kFromOutside{SIGINT, SIGTERM, SIGHUP};
constexpr int kFromInside = SIGUSR1;
constexpr std::chrono::milliseconds kMoment{900};

bool isIgnored(int signal)
{
    struct sigaction action {
    };
    return ::sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

} // namespace

Ending::Ending()
{
    sigemptyset(&signals_);
    sigaddset(&signals_, kFromInside);
    for (const int signal : kFromOutside) {
        if (signal != SIGHUP || !isIgnored(signal))
            sigaddset(&signals_, signal);
    }
    ::pthread_sigmask(SIG_BLOCK, &signals_, nullptr);
}

std::string Ending::wait()
{
    int signal = 0;
    while (::sigwait(&signals_, &signal) != 0) {
    }
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
    sigset_t fromOutside = signals_;
    sigdelset(&fromOutside, kFromInside);
    for (const int signal : kFromOutside) {
        if (sigismember(&signals_, signal) == 1)
            std::signal(signal, SIG_DFL);
    }
    ::pthread_sigmask(SIG_UNBLOCK, &fromOutside, nullptr);
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
