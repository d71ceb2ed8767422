// SPDX-License-Identifier: Apache-2.0
// One thread serves everybody: devices' users, control clients, a virtual machine, signals.
#pragma once

#include <poll.h>

#include <chrono>
#include <functional>
#include <initializer_list>
#include <optional>
#include <vector>

namespace Sim
{

using Now = std::function<std::chrono::milliseconds()>;

/// The clock of everything that is served: monotonic.
std::chrono::milliseconds now();

/// Whoever has a part in the loop.
class Served
{
public:
    virtual ~Served() = default;
    /// The descriptors to wait for.
    virtual void addTo(std::vector<pollfd>& waiting) const = 0;
    /// When serve() has something to do whatever the descriptors do; empty when never.
    virtual std::optional<std::chrono::milliseconds> nextDue() const { return std::nullopt; }
    /// Does what can be done without waiting. Called after every wait, whoever it ended for; false ends the loop.
    virtual bool serve() = 0;
};

/// Serves everybody in this order, until one of them ends it.
void runEventLoop(std::initializer_list<Served*> everybody);

} // namespace Sim
