#include "sim/SdrSensors.h"

#include "sim/SdrLayout.h"

#include <algorithm>
#include <cstdlib>

namespace Sim
{

using namespace SdrLayout;

namespace
{

constexpr std::uint8_t kRearmsItself = 0x40; ///< sensor capabilities

/// A record byte; 0 past its end, as records may be cut.
std::uint8_t at(const Bytes& record, std::size_t offset)
{
    return offset < record.size() ? record[offset] : std::uint8_t{0};
}

std::uint16_t wordAt(const Bytes& record, std::size_t offset)
{
    return static_cast<std::uint16_t>(at(record, offset) | at(record, offset + 1) << 8);
}

bool isFull(const Bytes& record)
{
    return at(record, kType) == kFullType;
}

/// IPMI 2.0, sensor capabilities: 0 none, 1 readable, 2 readable and settable, 3 fixed and unreadable.
void takeThresholds(Sensor& sensor, const Bytes& record)
{
    const unsigned access = at(record, kCapabilities) >> 2 & 3;
    if (access == 1 || access == 2)
        sensor.readableThresholds = at(record, kReadable) & 0x3f;
    if (access == 2)
        sensor.settableThresholds = at(record, kSettable) & 0x3f;
    if (isFull(record)) {
        for (std::size_t i = 0; i < sensor.thresholds.size(); ++i)
            sensor.thresholds[i] = at(record, thresholdAt(i));
    }
}

void takeHysteresis(Sensor& sensor, const Bytes& record)
{
    const unsigned access = at(record, kCapabilities) >> 4 & 3;
    sensor.hysteresisReadable = access == 1 || access == 2;
    sensor.hysteresisSettable = access == 2;
    sensor.positiveHysteresis = at(record, isFull(record) ? Full::kPositiveHysteresis : Compact::kPositiveHysteresis);
    sensor.negativeHysteresis = at(record, isFull(record) ? Full::kNegativeHysteresis : Compact::kNegativeHysteresis);
}

void takeFactors(Sensor& sensor, const Bytes& record)
{
    constexpr unsigned kOneOverX = 7;
    sensor.format = static_cast<RawFormat>(at(record, kUnits) >> 6);
    for (std::size_t i = 0; i < Full::kFactorsSize; ++i)
        sensor.factors.push_back(at(record, Full::kFactors + i));
    const bool negativeM = (sensor.factors[1] & 0x80) != 0;
    const bool inverse = (at(record, Full::kLinearization) & 0x7f) == kOneOverX;
    sensor.descending = negativeM != inverse;
}

/// A reading such as a healthy machine's: the nominal one, else the middle between the thresholds.
std::uint8_t plausibleRaw(const Sensor& sensor, const Bytes& record)
{
    if ((at(record, Full::kAnalogFlags) & 1) != 0)
        return at(record, Full::kNominal);
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
    sensor.key = {at(record, kOwner), static_cast<std::uint8_t>(at(record, kLun) & 3), at(record, kNumber)};
    sensor.type = at(record, kSensorType);
    sensor.eventType = at(record, kEventType);
    sensor.assertionEvents = wordAt(record, kAssertions) & 0x7fff;
    sensor.deassertionEvents = wordAt(record, kDeassertions) & 0x7fff;
    sensor.autoRearm = (at(record, kCapabilities) & kRearmsItself) != 0;
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

unsigned sensorCount(const Bytes& record)
{
    switch (at(record, kType)) {
    case kFullType:
        return 1;
    case kCompactType:
        return std::max(at(record, Compact::kShare) & 0x0fU, 1U);
    case kEventOnlyType:
        return std::max(at(record, EventOnly::kShare) & 0x0fU, 1U);
    default:
        return 0;
    }
}

std::map<SensorKey, Sensor> sensorsOf(const std::vector<Bytes>& records)
{
    std::map<SensorKey, Sensor> sensors;
    for (const Bytes& record : records) {
        if (at(record, kType) == kEventOnlyType)
            continue;
        for (unsigned share = 0; share < sensorCount(record); ++share) {
            Sensor sensor = sensorOf(record);
            sensor.key.number = static_cast<std::uint8_t>(sensor.key.number + share);
            sensors.emplace(sensor.key, sensor);
        }
    }
    return sensors;
}

} // namespace Sim
