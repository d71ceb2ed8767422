// SPDX-License-Identifier: Apache-2.0
// Fault plans written in JSON: {"faults": [{"netfn": ..., "cmd": ..., "from": ..., "completion_code": ...}],
// "random": {"seed": ..., "per_mille": ..., "faults": ["no_answer", {"completion_code": ...}]}}.
#include "sim/faults/FaultPlan.h"
#include "sim/machine/InputFile.h"
#include "sim/machine/JsonReader.h"

namespace Sim
{

namespace
{

constexpr std::size_t kMostRules = 1000, kLongestAnswer = 1024;
constexpr std::int64_t kLongestTime = 3'600'000;
constexpr std::int64_t kMany = INT64_MAX;
constexpr std::int64_t kMille = 1000;

constexpr Name kRepositoryChanges[] = {
    {"touched", static_cast<std::uint8_t>(RepositoryChange::touched)},
    {"record_removed", static_cast<std::uint8_t>(RepositoryChange::recordRemoved)},
    {"record_added", static_cast<std::uint8_t>(RepositoryChange::recordAdded)},
};

constexpr Name kSelChanges[] = {
    {"record_added", static_cast<std::uint8_t>(SelChange::recordAdded)},
    {"record_deleted", static_cast<std::uint8_t>(SelChange::recordDeleted)},
    {"asked_deleted", static_cast<std::uint8_t>(SelChange::askedDeleted)},
    {"cleared", static_cast<std::uint8_t>(SelChange::cleared)},
    {"time_back", static_cast<std::uint8_t>(SelChange::timeBack)},
};

std::optional<std::uint8_t> optionalByte(JsonObject& json, const char* name)
{
    return json.has(name) ? std::optional{json.byte(name)} : std::nullopt;
}

std::optional<std::uint16_t> optionalWord(JsonObject& json, const char* name)
{
    return json.has(name) ? std::optional{json.word(name)} : std::nullopt;
}

std::chrono::milliseconds duration(JsonObject& json, const char* name)
{
    return std::chrono::milliseconds(json.integer(name, 0, kLongestTime, 0));
}

std::optional<std::size_t> optionalSize(JsonObject& json, const char* name)
{
    if (!json.has(name))
        return std::nullopt;
    return static_cast<std::size_t>(json.integer(name, 0, kLongestAnswer));
}

FaultAction parseAction(JsonObject& json)
{
    FaultAction action;
    action.lostReservation = json.flag("lost_reservation", false);
    action.repository = static_cast<RepositoryChange>(
        json.named("repository", kRepositoryChanges, static_cast<std::uint8_t>(RepositoryChange::none),
                   static_cast<std::uint8_t>(RepositoryChange::recordAdded)));
    action.sel = static_cast<SelChange>(json.named("sel", kSelChanges, static_cast<std::uint8_t>(SelChange::none),
                                                   static_cast<std::uint8_t>(SelChange::timeBack)));
    action.silent = duration(json, "silent_ms");
    action.noAnswer = json.flag("no_answer", false);
    action.completionCode = optionalByte(json, "completion_code");
    action.otherRecordId = optionalWord(json, "other_record_id");
    action.nextId = optionalWord(json, "next_id");
    for (JsonObject& change : json.objects("change", kLongestAnswer)) {
        action.changed.emplace_back(change.integer("offset", 0, kLongestAnswer), change.byte("value"));
        change.finish();
    }
    action.lengthenTo = optionalSize(json, "lengthen_to");
    action.cutTo = optionalSize(json, "cut_to");
    action.delay = duration(json, "delay_ms");
    action.busy = duration(json, "busy_ms");
    return action;
}

/// Which requests and when of them.
FaultRule parseConditions(JsonObject& json)
{
    FaultRule rule;
    rule.netfn = optionalByte(json, "netfn");
    rule.cmd = optionalByte(json, "cmd");
    rule.address = optionalByte(json, "address");
    rule.data = json.bytes("data", 1, 255);
    rule.every = static_cast<std::uint64_t>(json.integer("every", 1, kMany, 1));
    // "every": k alone means the k-th, the 2k-th and so on.
    rule.from = static_cast<std::uint64_t>(json.integer("from", 1, kMany, static_cast<std::int64_t>(rule.every)));
    rule.count = static_cast<std::uint64_t>(json.integer("count", 0, kMany, 0));
    if (json.has("nth")) {
        if (json.has("every") || json.has("from") || json.has("count"))
            json.fail("\"nth\" stands alone, without \"from\", \"every\" and \"count\"");
        rule.from = static_cast<std::uint64_t>(json.integer("nth", 1, kMany));
        rule.count = 1;
    }
    return rule;
}

FaultRule parseRule(JsonObject& json)
{
    FaultRule rule = parseConditions(json);
    rule.action = parseAction(json);
    json.finish();
    return rule;
}

FaultSource namedSource(const std::string& name, const std::string& place)
{
    if (FaultSource source = faultSource(name))
        return source;
    std::string known;
    for (const std::string_view other : faultNames())
        known += ", " + std::string(other);
    throw BadFile(place + ": must be an action {...} or one of: " + known.substr(2));
}

FaultSource parseSource(const nlohmann::json& value, const std::string& place)
{
    if (!value.is_object())
        return namedSource(value.is_string() ? value.get<std::string>() : "", place);
    JsonObject json(value, place);
    const FaultAction action = parseAction(json);
    json.finish();
    return [action](Dice&) { return action; };
}

RandomFaults parseRandom(JsonObject& json)
{
    const auto seed = static_cast<std::uint64_t>(json.integer("seed", 0, kMany));
    const auto perMille = static_cast<unsigned>(json.integer("per_mille", 1, kMille));
    std::vector<FaultSource> sources;
    for (const auto& [value, place] : json.elements("faults", kMostRules))
        sources.push_back(parseSource(*value, place));
    if (json.has("faults") && sources.empty())
        json.fail("faults", "must have one or more; leave it out for all there are");
    return sources.empty() ? RandomFaults(seed, perMille) : RandomFaults(seed, perMille, std::move(sources));
}

} // namespace

FaultPlan parseFaultPlan(std::string_view text, const std::string& source)
{
    const nlohmann::json parsed = parseJson(text, source);
    JsonObject json(parsed, source);
    if (!json.has("faults") && !json.has("random"))
        json.fail("faults", "is missing");
    std::vector<FaultRule> rules;
    for (JsonObject& rule : json.objects("faults", kMostRules))
        rules.push_back(parseRule(rule));
    FaultPlan plan(std::move(rules));
    if (json.has("random")) {
        JsonObject random = json.object("random");
        FaultRule conditions = parseConditions(random);
        plan.add(std::move(conditions), parseRandom(random));
        random.finish();
    }
    json.finish();
    return plan;
}

FaultPlan loadFaultPlan(const std::string& path)
{
    const Bytes text = readFile(path);
    return parseFaultPlan({reinterpret_cast<const char*>(text.data()), text.size()}, path);
}

} // namespace Sim
