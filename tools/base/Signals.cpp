// SPDX-License-Identifier: Apache-2.0
// Sets of signals: blocked, handled, waited for.
#include "base/Signals.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>

namespace Tool
{

Signals::Signals(std::initializer_list<int> numbers)
{
    sigemptyset(&set_);
    for (const int number : numbers)
        add(number);
}

bool Signals::isIgnored(int number)
{
    struct sigaction action {
    };
    return ::sigaction(number, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void Signals::handle(void (*handler)(int)) const
{
    struct sigaction action {
    };
    action.sa_handler = handler;
    for (int number = 1; number < NSIG; ++number) {
        if (sigismember(&set_, number) == 1)
            ::sigaction(number, &action, nullptr);
    }
}

int Signals::wait() const
{
    int number = 0;
    while (::sigwait(&set_, &number) != 0) {
    }
    return number;
}

bool Signals::sleepUntil(std::chrono::steady_clock::time_point end) const
{
    using namespace std::chrono;
    sigset_t unblocked;
    ::pthread_sigmask(SIG_SETMASK, nullptr, &unblocked);
    for (int number = 1; number < NSIG; ++number) {
        if (sigismember(&set_, number) == 1)
            sigdelset(&unblocked, number);
    }
    const auto left = std::max(end - steady_clock::now(), steady_clock::duration::zero());
    const auto whole = duration_cast<seconds>(left);
    const timespec time{whole.count(), nanoseconds(left - whole).count()};
    return ::ppoll(nullptr, 0, &time, &unblocked) == 0 || errno != EINTR;
}

} // namespace Tool
