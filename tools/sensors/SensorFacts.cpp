// SPDX-License-Identifier: Apache-2.0
// What is known of a sensor beside its record: thresholds, hysteresis, reading.
#include "sensors/SensorFacts.h"

#include "node/CompletionCode.h"
#include "sensors/EventNames.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <span>

namespace Tool
{

namespace
{

void addThresholds(const SensorView& view, Facts& facts)
{
    for (std::size_t i = 0; i < kThresholdKeys.size(); ++i) {
        if (view.thresholds[i])
            facts.put(std::string(kThresholdKeys[i]), view.withUnit(*view.thresholds[i]), nullptr);
    }
}

/// Raw: how far a value is that many steps away depends on where it is, unless the sensor is linear.
void addHysteresis(Ipmi::IpmiSensor& sensor, Facts& facts)
{
    unsigned char positive = 0, negative = 0;
    if (sensor.getHysteresis(positive, negative, false) == 0)
        facts.put("hysteresis", fmt::format("+{}, -{} raw", positive, negative),
                  {{"positive", positive}, {"negative", negative}});
    else
        facts.put("hysteresis", "", nullptr);
}

void addReadingFlags(const Ipmi::IpmiSensor::Reading& reading, Facts& facts)
{
    constexpr std::size_t kUpToFlags = 3;
    std::vector<std::string> flags;
    for (const auto& [bit, name] : {std::pair(0x80, "event messages"), {0x40, "scanning"}, {0x20, "unavailable"}}) {
        if (reading.length >= kUpToFlags && (reading.flags & bit) != 0)
            flags.emplace_back(name);
    }
    facts.list("reading_flags", flags);
}

void addReadResult(unsigned result, Facts& facts)
{
    constexpr unsigned kMostCodes = 0xff;
    if (result > kMostCodes)
        facts.put("read_result", "no answer", nullptr);
    else
        facts.put("read_result", completionCodeText(static_cast<std::uint8_t>(result)), result);
}

void addReading(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts)
{
    const auto reading = sensor.getLastReading();
    const std::array<std::uint8_t, 5> all{reading.cc, reading.raw, reading.flags, reading.state1, reading.state2};
    const auto bytes = std::span(all).first(std::min<std::size_t>(reading.length, all.size()));
    facts.put("value", view.value ? view.withUnit(*view.value) : "", nullptr);
    facts.text("state", view.state);
    if (sensor.isDiscrete() && reading.available())
        facts.list("asserted", assertedStates(sensor));
    facts.text("reading_bytes", fmt::format("{:02x}", fmt::join(bytes, " ")));
    addReadingFlags(reading, facts);
    addReadResult(sensor.getLastReadResult(), facts);
    facts.put("age_ms", view.age ? std::to_string(view.age->count()) : "", nullptr);
}

Facts factsOf(Ipmi::IpmiSensor& sensor, const SensorView& view)
{
    Facts facts;
    addRecordFacts(sensor, view, facts);
    addThresholds(view, facts);
    addHysteresis(sensor, facts);
    addReading(sensor, view, facts);
    return facts;
}

} // namespace

Json jsonWithFacts(Ipmi::IpmiSensor& sensor, const SensorView& view)
{
    Json result = jsonOf(view);
    const Facts facts = factsOf(sensor, view);
    for (const Fact& fact : facts.all()) {
        if (!result.contains(fact.key) && !result["thresholds"].contains(fact.key))
            result[fact.key] = fact.json;
    }
    return result;
}

std::string textOfFacts(Ipmi::IpmiSensor& sensor, const SensorView& view)
{
    return printable(view.name) + '\n' + factsOf(sensor, view).lines();
}

} // namespace Tool
