// SPDX-License-Identifier: Apache-2.0
// What a sensor data record says of its sensors.
#include "sim/machine/SdrSensors.h"

#include "sim/machine/SdrLayout.h"

#include <algorithm>
#include <cstdlib>

namespace Sim
{

namespace
{

constexpr std::uint8_t kRearmsItself = 0x40; ///< sensor capabilities

std::uint16_t eventMask(const Bytes& record, std::size_t offset)
{
    return static_cast<std::uint16_t>((byteAt(record, offset) | byteAt(record, offset + 1) << 8) & 0x7fff);
}

bool isFull(const Bytes& record)
{
    return byteAt(record, SdrLayout::kType) == SdrLayout::kFullType;
}

/// IPMI 2.0, sensor capabilities: 0 none, 1 readable, 2 readable and settable, 3 fixed and unreadable.
void takeThresholds(Sensor& sensor, const Bytes& record)
{
    const unsigned access = byteAt(record, SdrLayout::kCapabilities) >> 2 & 3;
    if (access == 1 || access == 2)
        sensor.readableThresholds = byteAt(record, SdrLayout::kReadable) & 0x3f;
    if (access == 2)
        sensor.settableThresholds = byteAt(record, SdrLayout::kSettable) & 0x3f;
    if (isFull(record)) {
        for (std::size_t i = 0; i < sensor.thresholds.size(); ++i)
            sensor.thresholds[i] = byteAt(record, SdrLayout::thresholdAt(i));
    }
}

void takeHysteresis(Sensor& sensor, const Bytes& record)
{
    const unsigned access = byteAt(record, SdrLayout::kCapabilities) >> 4 & 3;
    sensor.hysteresisReadable = access == 1 || access == 2;
    sensor.hysteresisSettable = access == 2;
    sensor.positiveHysteresis =
        byteAt(record, isFull(record) ? SdrLayout::Full::kPositiveHysteresis : SdrLayout::Compact::kPositiveHysteresis);
    sensor.negativeHysteresis =
        byteAt(record, isFull(record) ? SdrLayout::Full::kNegativeHysteresis : SdrLayout::Compact::kNegativeHysteresis);
}

void takeFactors(Sensor& sensor, const Bytes& record)
{
    constexpr unsigned kOneOverX = 7;
    sensor.format = static_cast<RawFormat>(byteAt(record, SdrLayout::kUnits) >> 6);
    for (std::size_t i = 0; i < SdrLayout::Full::kFactorsSize; ++i)
        sensor.factors.push_back(byteAt(record, SdrLayout::Full::kFactors + i));
    const bool negativeM = (sensor.factors[1] & 0x80) != 0;
    const bool inverse = (byteAt(record, SdrLayout::Full::kLinearization) & 0x7f) == kOneOverX;
    sensor.descending = negativeM != inverse;
}

/// A reading such as a healthy machine's: the nominal one, else the middle between the thresholds.
std::uint8_t plausibleRaw(const Sensor& sensor, const Bytes& record)
{
    if ((byteAt(record, SdrLayout::Full::kAnalogFlags) & 1) != 0)
        return byteAt(record, SdrLayout::Full::kNominal);
    int low = 256, high = -256;
    for (unsigned raw = 0; raw < 256; ++raw) {
        low = std::min(low, sensor.ordered(static_cast<std::uint8_t>(raw)));
        high = std::max(high, sensor.ordered(static_cast<std::uint8_t>(raw)));
    }
    for (unsigned i = 0; i < sensor.thresholds.size(); ++i) {
        if ((sensor.readableThresholds >> i & 1) == 0)
            continue;
        const int limit = sensor.ordered(sensor.thresholds[i]);
        if (i < 3)
            low = std::max(low, limit);
        else
            high = std::min(high, limit);
    }
    if ((sensor.readableThresholds & 7) == 0 && low < 0 && high > 0)
        low = 0; // without a lower threshold: not half way to the coldest that the byte can say
    std::uint8_t best = 0;
    for (unsigned raw = 0; raw < 256; ++raw) {
        const auto candidate = static_cast<std::uint8_t>(raw);
        const int middle = (low + high) / 2;
        if (std::abs(sensor.ordered(candidate) - middle) < std::abs(sensor.ordered(best) - middle))
            best = candidate;
    }
    return best;
}

Sensor sensorOf(const Bytes& record)
{
    Sensor sensor;
    sensor.key = {byteAt(record, SdrLayout::kOwner), static_cast<std::uint8_t>(byteAt(record, SdrLayout::kLun) & 3),
                  byteAt(record, SdrLayout::kNumber)};
    sensor.type = byteAt(record, SdrLayout::kSensorType);
    sensor.eventType = byteAt(record, SdrLayout::kEventType);
    sensor.assertionEvents = eventMask(record, SdrLayout::kAssertions);
    sensor.deassertionEvents = eventMask(record, SdrLayout::kDeassertions);
    sensor.autoRearm = (byteAt(record, SdrLayout::kCapabilities) & kRearmsItself) != 0;
    if (isFull(record))
        takeFactors(sensor, record);
    if (sensor.hasThresholds()) {
        sensor.assertionEvents &= 0x0fff; // the bits above are threshold status bits, not events
        sensor.deassertionEvents &= 0x0fff;
        takeThresholds(sensor, record);
    }
    takeHysteresis(sensor, record);
    if (isFull(record) && sensor.hasThresholds())
        sensor.raw = RawSource::constant(plausibleRaw(sensor, record));
    return sensor;
}

} // namespace

std::map<SensorKey, Sensor> sensorsOf(const std::vector<Bytes>& records)
{
    std::map<SensorKey, Sensor> sensors;
    for (const Bytes& record : records) {
        if (byteAt(record, SdrLayout::kType) == SdrLayout::kEventOnlyType)
            continue;
        for (unsigned share = 0; share < SdrLayout::sensorCount(record); ++share) {
            Sensor sensor = sensorOf(record);
            sensor.key.number = static_cast<std::uint8_t>(sensor.key.number + share);
            sensors.emplace(sensor.key, sensor);
        }
    }
    return sensors;
}

} // namespace Sim
