// SPDX-License-Identifier: Apache-2.0
// Faults by chance that happen again with the same seed.
#pragma once

#include "sim/faults/FaultAction.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// Random numbers (splitmix64), the same on every machine.
class Dice
{
public:
    explicit Dice(std::uint64_t seed) : state_(seed) {}
    std::uint64_t next();
    /// 0 to `limit` - 1.
    unsigned below(unsigned limit) { return static_cast<unsigned>(next() % limit); }

private:
    std::uint64_t state_;
};

/// One kind of fault, with what is left open in it thrown.
using FaultSource = std::function<FaultAction(Dice&)>;

/// The kind that is named like its action in a plan's file: "no_answer", "cut_to" and so on; null: there is none.
FaultSource faultSource(std::string_view name);
/// Names of all kinds.
std::vector<std::string_view> faultNames();

/// One draw for each request: whether it goes wrong, then how.
class RandomFaults
{
public:
    /// Every kind there is, but for those that change the event log.
    RandomFaults(std::uint64_t seed, unsigned perMille);
    /// `sources` are equally likely; there must be one.
    RandomFaults(std::uint64_t seed, unsigned perMille, std::vector<FaultSource> sources);

    std::optional<FaultAction> draw();
    /// "seed 42, request 1234": the last draw.
    std::string position() const;

private:
    std::uint64_t seed_;
    unsigned perMille_;
    std::vector<FaultSource> sources_;
    Dice dice_;
    std::uint64_t draws_ = 0;
};

} // namespace Sim
