// Faults: which requests go wrong, when, and how.
#pragma once

#include "sim/MachineFile.h"
#include "sim/Message.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Sim
{

/// What happens to an answer. Several at once apply in the order of the members.
struct FaultAction {
    bool lostReservation = false; ///< SDR and SEL reservations are cancelled before the command is handled
    bool noAnswer = false;        ///< the command is not handled and nobody answers
    std::optional<std::uint8_t> completionCode{}; ///< the command is not handled; the answer is this code alone
    std::vector<std::pair<std::size_t, std::uint8_t>>
        changed{};                           ///< offset (0 is the completion code) and value; past the end: nothing
    std::optional<std::size_t> lengthenTo{}; ///< zeros appended up to this many bytes, completion code included
    std::optional<std::size_t> cutTo{};      ///< bytes kept, completion code included
    std::chrono::milliseconds delay{0};
};

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

    /// Counts the request on each rule that it matches; the actions that are due, in rule order.
    std::vector<FaultAction> due(const Request& request);
    std::size_t size() const { return rules_.size(); }

private:
    struct Counted {
        FaultRule rule;
        std::uint64_t seen = 0;
        std::uint64_t fired = 0;
    };
    std::vector<Counted> rules_;
};

/// Changes an answer as an action says (not lostReservation, which acts before).
void applyFault(const FaultAction& action, Answer& answer);

/// A plan from a JSON file or text. Throws BadFile.
FaultPlan loadFaultPlan(const std::string& path);
FaultPlan parseFaultPlan(std::string_view json, const std::string& source);

} // namespace Sim
