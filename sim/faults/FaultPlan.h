// SPDX-License-Identifier: Apache-2.0
// Faults: which requests go wrong, when, and how.
#pragma once

#include "sim/faults/FaultAction.h"
#include "sim/faults/RandomFaults.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// One fault: requests that match, when of them, and what then. Absent fields match everything.
struct FaultRule {
    std::optional<std::uint8_t> netfn{};
    std::optional<std::uint8_t> cmd{};
    std::optional<std::uint8_t> address{};
    Bytes data{};            ///< the request's data starts with these bytes
    std::uint64_t from = 1;  ///< first matching request that goes wrong, counted from 1
    std::uint64_t every = 1; ///< then each every-th one
    std::uint64_t count = 0; ///< at most so many times; 0: no limit
    FaultAction action{};

    bool matches(const Request& request) const;
};

/// Rules with their counters. Used by one thread at a time (Bmc holds its lock).
class FaultPlan
{
public:
    FaultPlan() = default;
    explicit FaultPlan(std::vector<FaultRule> rules);
    /// So many of a thousand requests go wrong, in any way there is: the same ones in the same way for the same seed.
    static FaultPlan random(std::uint64_t seed, unsigned perMille);

    /// Random faults in place of the rule's own action.
    void add(FaultRule rule, RandomFaults random);

    /// Counts the request on each rule that it matches; the actions that are due, in rule order.
    std::vector<FaultAction> due(const Request& request);
    /// Where the random faults are: "seed 42, request 1234", for each of them. Empty: there are none.
    std::string position() const;

private:
    struct Counted {
        FaultRule rule;
        std::optional<RandomFaults> random{};
        std::uint64_t seen = 0;
        std::uint64_t fired = 0;

        bool isTurn(const Request& request);
    };
    std::vector<Counted> rules_;
};

/// A plan from a JSON file or text. Throws BadFile.
FaultPlan loadFaultPlan(const std::string& path);
FaultPlan parseFaultPlan(std::string_view json, const std::string& source);

} // namespace Sim
