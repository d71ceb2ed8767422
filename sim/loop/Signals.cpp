// SPDX-License-Identifier: Apache-2.0
// Signals as a descriptor, and the mask as it was.
#include "sim/loop/Signals.h"

#include <unistd.h>

namespace Sim
{

Signals::Signals(std::initializer_list<int> signals)
{
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : signals)
        sigaddset(&set, signal);
    ::sigprocmask(SIG_BLOCK, &set, &maskBefore_);
    descriptor_ = Descriptor(::signalfd(-1, &set, SFD_CLOEXEC | SFD_NONBLOCK));
}

Signals::~Signals()
{
    ::sigprocmask(SIG_SETMASK, &maskBefore_, nullptr);
}

std::optional<signalfd_siginfo> Signals::next()
{
    signalfd_siginfo info;
    if (::read(descriptor_.get(), &info, sizeof info) != static_cast<ssize_t>(sizeof info))
        return std::nullopt;
    return info;
}

} // namespace Sim
