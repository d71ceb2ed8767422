// SPDX-License-Identifier: Apache-2.0
// The BMC's clock: what Get SEL Time says and events are stamped with.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace Sim
{

/// Starts with the host's time when it is first looked at, then goes as `steady` does.
class SelClock
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Steady = std::function<Milliseconds()>;

    explicit SelClock(Steady steady) : steady_(std::move(steady)) {}

    /// Seconds since 1970.
    std::uint32_t now() const;
    void set(std::uint32_t seconds);
    /// Time that never goes back, whatever is set.
    Milliseconds steady() const { return steady_(); }

private:
    Steady steady_;
    mutable std::optional<Milliseconds> atZero_; ///< the clock's time when `steady_` was 0
};

} // namespace Sim
