// Fault plans written in JSON: {"faults": [{"netfn": ..., "cmd": ..., "from": ..., "completion_code": ...}]}.
#include "sim/FaultPlan.h"
#include "sim/JsonReader.h"
#include "sim/RawFiles.h"

namespace Sim
{

namespace
{

constexpr std::size_t kMostRules = 1000, kLongestAnswer = 1024;
constexpr std::int64_t kLongestDelay = 3'600'000;
constexpr std::int64_t kMany = INT64_MAX;

std::optional<std::uint8_t> optionalByte(JsonObject& json, const char* name)
{
    return json.has(name) ? std::optional{json.byte(name)} : std::nullopt;
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
    action.noAnswer = json.flag("no_answer", false);
    action.completionCode = optionalByte(json, "completion_code");
    for (JsonObject& change : json.objects("change", kLongestAnswer)) {
        action.changed.emplace_back(change.integer("offset", 0, kLongestAnswer), change.byte("value"));
        change.finish();
    }
    action.lengthenTo = optionalSize(json, "lengthen_to");
    action.cutTo = optionalSize(json, "cut_to");
    action.delay = std::chrono::milliseconds(json.integer("delay_ms", 0, kLongestDelay, 0));
    return action;
}

FaultRule parseRule(JsonObject& json)
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
    rule.action = parseAction(json);
    json.finish();
    return rule;
}

} // namespace

FaultPlan parseFaultPlan(std::string_view text, const std::string& source)
{
    const nlohmann::json parsed = parseJson(text, source);
    JsonObject json(parsed, source);
    if (!json.has("faults"))
        json.fail("faults", "is missing");
    std::vector<FaultRule> rules;
    for (JsonObject& rule : json.objects("faults", kMostRules))
        rules.push_back(parseRule(rule));
    json.finish();
    return FaultPlan(std::move(rules));
}

FaultPlan loadFaultPlan(const std::string& path)
{
    const Bytes text = readFile(path);
    return parseFaultPlan({reinterpret_cast<const char*>(text.data()), text.size()}, path);
}

} // namespace Sim
