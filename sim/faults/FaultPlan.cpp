// SPDX-License-Identifier: Apache-2.0
// Matching and counting: whose turn it is.
#include "sim/faults/FaultPlan.h"

#include <algorithm>

namespace Sim
{

bool FaultRule::matches(const Request& request) const
{
    const auto same = [](const auto& wanted, std::uint8_t value) { return !wanted || *wanted == value; };
    return same(netfn, request.netfn) && same(cmd, request.cmd) && same(address, request.address) &&
           data.size() <= request.data.size() && std::equal(data.begin(), data.end(), request.data.begin());
}

FaultPlan::FaultPlan(std::vector<FaultRule> rules)
{
    for (FaultRule& rule : rules)
        rules_.push_back({.rule = std::move(rule)});
}

FaultPlan FaultPlan::random(std::uint64_t seed, unsigned perMille)
{
    FaultPlan plan;
    plan.add({}, RandomFaults(seed, perMille));
    return plan;
}

void FaultPlan::add(FaultRule rule, RandomFaults random)
{
    rules_.push_back({.rule = std::move(rule), .random = std::move(random)});
}

bool FaultPlan::Counted::isTurn(const Request& request)
{
    if (!rule.matches(request))
        return false;
    ++seen;
    return seen >= rule.from && (seen - rule.from) % std::max<std::uint64_t>(rule.every, 1) == 0 &&
           (rule.count == 0 || fired < rule.count);
}

std::vector<FaultAction> FaultPlan::due(const Request& request)
{
    std::vector<FaultAction> actions;
    for (Counted& counted : rules_) {
        if (!counted.isTurn(request))
            continue;
        const auto action = counted.random ? counted.random->draw() : counted.rule.action;
        if (!action)
            continue;
        ++counted.fired;
        actions.push_back(*action);
    }
    return actions;
}

std::string FaultPlan::position() const
{
    std::string text;
    for (const Counted& counted : rules_) {
        if (counted.random)
            text += (text.empty() ? "" : "; ") + counted.random->position();
    }
    return text;
}

} // namespace Sim
