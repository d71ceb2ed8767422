#include "sim/FaultPlan.h"

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

std::vector<FaultAction> FaultPlan::due(const Request& request)
{
    std::vector<FaultAction> actions;
    for (Counted& counted : rules_) {
        const FaultRule& rule = counted.rule;
        if (!rule.matches(request))
            continue;
        ++counted.seen;
        const bool turn =
            counted.seen >= rule.from && (counted.seen - rule.from) % std::max<std::uint64_t>(rule.every, 1) == 0;
        if (turn && (rule.count == 0 || counted.fired < rule.count)) {
            ++counted.fired;
            actions.push_back(rule.action);
        }
    }
    return actions;
}

void applyFault(const FaultAction& action, Answer& answer)
{
    answer.delay += action.delay;
    if (action.noAnswer) {
        answer.answered = false;
        answer.bytes.clear();
    }
    if (!answer.answered)
        return;
    if (action.completionCode)
        answer.bytes = {*action.completionCode};
    for (const auto& [offset, value] : action.changed) {
        if (offset < answer.bytes.size())
            answer.bytes[offset] = value;
    }
    if (action.lengthenTo && *action.lengthenTo > answer.bytes.size())
        answer.bytes.resize(*action.lengthenTo);
    if (action.cutTo && *action.cutTo < answer.bytes.size())
        answer.bytes.resize(*action.cutTo);
}

} // namespace Sim
