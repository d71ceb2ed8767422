// SPDX-License-Identifier: Apache-2.0
// A simulated BMC on every /dev/ipmi<N> of this process, with an event log that grows on request.
#pragma once

#include "SimDevice.h"
#include "sim/bmc/Bmc.h"

#include <cstddef>
#include <cstdint>

namespace Bench
{

class LoggedBmc
{
public:
    /// The library is told to keep as many records as the log can hold. The BMC has so many sensors of its own.
    explicit LoggedBmc(unsigned events, unsigned sensors = 0);

    /// They happen a second later: the log's times are what a check goes by.
    void addEvents(unsigned count);

    std::size_t events() const { return events_; }
    /// So far, in whatever way they came.
    double commands() const { return static_cast<double>(bmc_.count()); }

private:
    Sim::Bmc bmc_;
    SimDevice device_;
    std::uint32_t time_ = 0x60000000;
    std::size_t events_ = 0;
};

} // namespace Bench
