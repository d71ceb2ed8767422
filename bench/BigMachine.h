// SPDX-License-Identifier: Apache-2.0
// Machines with as many sensors as wanted, and a BMC that answers for the thousandth as fast as for the first.
#pragma once

#include "sim/bmc/Bmc.h"

#include <atomic>
#include <cstdint>
#include <vector>

namespace Bench
{

/// `records` full records of threshold sensors with all six thresholds and hysteresis, 250 to a controller; the ids are
/// 1, 2, ... The first controller has this address; all others, and it if the default, are behind the BMC.
Sim::Machine bigMachine(unsigned records, std::uint8_t firstOwner = 0x22);

/// The simulated BMC, but Get SDR finds a record by its id at once: what is measured is to be the library, not a search
/// in the simulator.
class BigBmc final : public Sim::Responder
{
public:
    explicit BigBmc(unsigned records);

    Sim::Answer handle(const Sim::Request& request) override;
    /// Requests so far.
    std::uint64_t count() const { return count_; }

private:
    Sim::Answer getSdr(const Sim::Request& request) const;

    std::vector<Sim::Bytes> records_;
    Sim::Bmc bmc_;
    std::atomic<std::uint64_t> count_{0};
};

} // namespace Bench
