// SPDX-License-Identifier: Apache-2.0
// When a sensor sends which event: thresholds with hysteresis, states, arming.
#include "sim/bmc/SensorEvents.h"

#include "sim/machine/SelLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr unsigned kThresholdCount = 6, kUpperThresholds = 3, kStates = 15;

constexpr unsigned bit(unsigned offset)
{
    return 1U << offset;
}

/// Threshold events come in pairs, going low and going high, in the order of the thresholds in commands.
constexpr unsigned thresholdOf(unsigned offset)
{
    return offset / 2;
}

constexpr bool goesHigh(unsigned offset)
{
    return offset % 2 != 0;
}

/// Thresholds that nobody may read are in the full record still.
bool hasThreshold(const Sensor& sensor, unsigned threshold)
{
    return !sensor.factors.empty() || (sensor.readableThresholds & bit(threshold)) != 0;
}

/// Whether an event's condition holds. Once it does, the reading must come back by more than the hysteresis.
bool isBeyond(const Sensor& sensor, unsigned offset, bool before)
{
    const int reading = sensor.ordered(sensor.lastRaw());
    const int limit = sensor.ordered(sensor.thresholds[thresholdOf(offset)]);
    if (goesHigh(offset))
        return reading >= limit - (before ? sensor.positiveHysteresis : 0);
    return reading <= limit + (before ? sensor.negativeHysteresis : 0);
}

/// Comparison bits that somebody has set.
bool isComparedBeyond(std::uint16_t comparisons, unsigned offset)
{
    const unsigned threshold = thresholdOf(offset);
    const bool isUpper = threshold >= kUpperThresholds, crossed = (comparisons & bit(threshold)) != 0;
    return crossed == (isUpper == goesHigh(offset));
}

std::uint16_t thresholdStates(const Sensor& sensor, std::uint16_t before)
{
    unsigned states = 0;
    for (unsigned offset = 0; offset < 2 * kThresholdCount; ++offset) {
        if (!hasThreshold(sensor, thresholdOf(offset)))
            continue;
        const bool holds = sensor.states ? isComparedBeyond(*sensor.states, offset)
                                         : isBeyond(sensor, offset, (before & bit(offset)) != 0);
        states |= holds ? bit(offset) : 0;
    }
    return static_cast<std::uint16_t>(states);
}

std::uint16_t eventStatesOf(const Sensor& sensor, std::uint16_t before)
{
    return sensor.hasThresholds() ? thresholdStates(sensor, before) : sensor.states.value_or(before) & 0x7fff;
}

void setBit(std::uint16_t& mask, unsigned offset, bool on)
{
    mask = static_cast<std::uint16_t>(on ? mask | bit(offset) : mask & ~bit(offset));
}

/// Notes it in the event status; whether it is an event to send.
bool happens(Sensor& sensor, unsigned offset, bool asserted)
{
    std::uint16_t& status = asserted ? sensor.assertedEvents : sensor.deassertedEvents;
    std::uint16_t& opposite = asserted ? sensor.deassertedEvents : sensor.assertedEvents;
    const bool armed = sensor.autoRearm || (status & bit(offset)) == 0;
    setBit(status, offset, true);
    if (sensor.autoRearm)
        setBit(opposite, offset, false);
    const unsigned enabled = asserted ? sensor.assertionEvents : sensor.deassertionEvents;
    return armed && (sensor.flags & kEventsEnabled) != 0 && (enabled & bit(offset)) != 0;
}

} // namespace

std::vector<SensorEvent> takeEvents(Sensor& sensor)
{
    if ((sensor.flags & kReadingUnavailable) != 0 || (sensor.flags & kScanningEnabled) == 0)
        return {};
    const std::uint16_t before = sensor.eventStates.value_or(0), now = eventStatesOf(sensor, before);
    if (!sensor.eventStates)
        sensor.assertedEvents = now;
    const unsigned changed = sensor.eventStates ? before ^ now : 0U;
    sensor.eventStates = now;
    std::vector<SensorEvent> events;
    const auto look = [&](unsigned offset, bool asserted) {
        if ((changed & bit(offset)) != 0 && ((now & bit(offset)) != 0) == asserted && happens(sensor, offset, asserted))
            events.push_back({static_cast<std::uint8_t>(offset), asserted});
    };
    for (unsigned offset = kStates; offset-- > 0;)
        look(offset, false); // the worst one ends first
    for (unsigned offset = 0; offset < kStates; ++offset)
        look(offset, true);
    return events;
}

void rearm(Sensor& sensor, std::uint16_t assertions, std::uint16_t deassertions)
{
    sensor.assertedEvents = static_cast<std::uint16_t>(sensor.assertedEvents & ~assertions);
    sensor.deassertedEvents = static_cast<std::uint16_t>(sensor.deassertedEvents & ~deassertions);
    if (sensor.eventStates)
        sensor.eventStates = static_cast<std::uint16_t>(*sensor.eventStates & ~assertions);
}

SelRecord recordOf(const Sensor& sensor, const SensorEvent& event, std::uint8_t channel)
{
    using namespace SelLayout;
    constexpr std::uint8_t kReadingAndThreshold = 0x50; ///< trigger reading in byte 2, trigger threshold in byte 3
    SelRecord record{};
    record[kType] = kSystemEvent;
    record[kGenerator] = sensor.key.owner;
    record[kGenerator + 1] = static_cast<std::uint8_t>(channel << 4 | sensor.key.lun);
    record[kRevision] = kEventRevision;
    record[kSensorType] = sensor.type;
    record[kSensorNumber] = sensor.key.number;
    record[kDirectionAndType] = static_cast<std::uint8_t>(sensor.eventType | (event.asserted ? 0 : kDeassertion));
    record[kData] = event.offset;
    record[kData + 1] = record[kData + 2] = kUnspecified;
    if (sensor.hasThresholds()) {
        record[kData] |= kReadingAndThreshold;
        record[kData + 1] = sensor.lastRaw();
        record[kData + 2] = sensor.thresholds[std::min(thresholdOf(event.offset), kThresholdCount - 1)];
    }
    return record;
}

} // namespace Sim
