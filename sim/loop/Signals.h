// SPDX-License-Identifier: Apache-2.0
// Signals as something to wait for.
#pragma once

#include "sim/loop/Descriptor.h"

#include <poll.h>
#include <sys/signalfd.h>

#include <csignal>
#include <initializer_list>
#include <optional>
#include <vector>

namespace Sim
{

/// Keeps signals from this thread while it lives.
class Signals
{
public:
    explicit Signals(std::initializer_list<int> signals);
    ~Signals();
    Signals(const Signals&) = delete;
    Signals& operator=(const Signals&) = delete;

    void addTo(std::vector<pollfd>& waiting) const { waiting.push_back({descriptor_.get(), POLLIN, 0}); }
    /// The next one that has come.
    std::optional<signalfd_siginfo> next();
    /// For programs that this one starts.
    const sigset_t& maskBefore() const { return maskBefore_; }

private:
    sigset_t maskBefore_{};
    Descriptor descriptor_;
};

} // namespace Sim
