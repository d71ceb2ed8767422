// SPDX-License-Identifier: Apache-2.0
// Finding sensors by name or address among the records.
#include "sim/control/NamedSensor.h"

#include "sdr/IdString.h"
#include "sim/machine/JsonReader.h"
#include "sim/machine/SdrLayout.h"
#include "sim/machine/SdrSensors.h"

#include <algorithm>
#include <map>

namespace Sim
{

namespace
{

/// The low `bits` bits as a two's complement number.
constexpr int signedBits(unsigned value, unsigned bits)
{
    const unsigned sign = 1U << (bits - 1);
    return static_cast<int>((value & (2 * sign - 1)) ^ sign) - static_cast<int>(sign);
}
static_assert(signedBits(0x3ff, 10) == -1 && signedBits(0x1ff, 10) == 511 && signedBits(0x8, 4) == -8);

std::optional<SensorScale> scaleOf(const Bytes& record)
{
    if (record[SdrLayout::kType] != SdrLayout::kFullType || record.size() < SdrLayout::Full::kIdCode)
        return std::nullopt;
    const std::uint8_t* factors = record.data() + SdrLayout::Full::kFactors;
    SensorScale scale;
    scale.format = static_cast<RawFormat>(record[SdrLayout::kUnits] >> 6);
    if (scale.format == RawFormat::none)
        return std::nullopt;
    scale.linearization = record[SdrLayout::Full::kLinearization] & 0x7f;
    scale.m = signedBits(factors[0] | (factors[1] & 0xc0U) << 2, 10);
    scale.b = signedBits(factors[2] | (factors[3] & 0xc0U) << 2, 10);
    scale.bExponent = signedBits(factors[5] & 0x0fU, 4);
    scale.resultExponent = signedBits(factors[5] >> 4, 4);
    return scale;
}

/// Where records of a sensor have what is looked at here; 0: they have no such part.
struct Layout {
    std::size_t sensorType, eventType, share, idCode;
};

/// Nullopt: no sensor's record.
std::optional<Layout> layoutOf(const Bytes& record)
{
    switch (record.size() > SdrLayout::kType ? record[SdrLayout::kType] : 0) {
    case SdrLayout::kFullType:
        return Layout{SdrLayout::kSensorType, SdrLayout::kEventType, 0, SdrLayout::Full::kIdCode};
    case SdrLayout::kCompactType:
        return Layout{SdrLayout::kSensorType, SdrLayout::kEventType, SdrLayout::Compact::kShare,
                      SdrLayout::Compact::kIdCode};
    case SdrLayout::kEventOnlyType:
        return Layout{SdrLayout::EventOnly::kSensorType, SdrLayout::EventOnly::kEventType, SdrLayout::EventOnly::kShare,
                      SdrLayout::EventOnly::kIdCode};
    default:
        return std::nullopt;
    }
}

/// What a shared record adds to its name for the sensor `share`: IPMI 2.0, id string instance modifier.
std::string modifier(const Bytes& record, const Layout& layout, unsigned share)
{
    if (layout.share == 0 || record.size() <= layout.share + 1 || SdrLayout::sensorCount(record) < 2)
        return {};
    const bool alphabetic = (record[layout.share] & 0x30) == 0x10;
    const unsigned number = (record[layout.share + 1] & 0x7fU) + share;
    return alphabetic ? std::string(1, static_cast<char>('A' + number % 26)) : std::to_string(number);
}

std::string nameIn(const Bytes& record, const Layout& layout)
{
    return layout.idCode < record.size() ? Ipmi::decodeIdString(std::span(record).subspan(layout.idCode))
                                         : std::string();
}

/// Adds the sensors of one record, those before it first.
void addSensors(const Bytes& record, std::map<SensorKey, NamedSensor>& named)
{
    const auto layout = layoutOf(record);
    if (!layout || record.size() <= layout->eventType)
        return;
    for (unsigned share = 0; share < SdrLayout::sensorCount(record); ++share) {
        const SensorKey key{record[SdrLayout::kOwner], static_cast<std::uint8_t>(record[SdrLayout::kLun] & 3),
                            static_cast<std::uint8_t>(record[SdrLayout::kNumber] + share)};
        named.try_emplace(key, NamedSensor{key, nameIn(record, *layout) + modifier(record, *layout, share),
                                           record[layout->sensorType], record[layout->eventType], scaleOf(record)});
    }
}

/// All that send events; where an event-only record has the key of a sensor with a reading, that sensor.
std::map<SensorKey, NamedSensor> sensorsByKey(const Machine& machine)
{
    std::map<SensorKey, NamedSensor> named;
    for (const bool eventOnly : {false, true}) {
        for (const Bytes& record : machine.sdr) {
            if ((record.size() > SdrLayout::kType && record[SdrLayout::kType] == SdrLayout::kEventOnlyType) ==
                eventOnly)
                addSensors(record, named);
        }
    }
    for (const auto& [key, sensor] : machine.sensors)
        named.try_emplace(key, NamedSensor{key, {}, sensor.type, sensor.eventType});
    return named;
}

struct Address {
    std::int64_t number = -1;
    std::optional<std::int64_t> owner{}, lun{};

    bool matches(const SensorKey& key) const
    {
        return key.number == number && owner.value_or(key.owner) == key.owner && lun.value_or(key.lun) == key.lun;
    }
};

/// NUMBER[@OWNER[/LUN]]
std::optional<Address> parseAddress(std::string_view text)
{
    const std::size_t at = std::min(text.find('@'), text.size()), slash = std::min(text.find('/', at), text.size());
    const auto number = parseInteger(text.substr(0, at));
    if (!number)
        return std::nullopt;
    Address address{*number};
    if (at < text.size() && !(address.owner = parseInteger(text.substr(at + 1, slash - at - 1))))
        return std::nullopt;
    if (slash < text.size() && !(address.lun = parseInteger(text.substr(slash + 1))))
        return std::nullopt;
    return address;
}

template <typename Matches> std::vector<NamedSensor> those(const std::vector<NamedSensor>& all, Matches matches)
{
    std::vector<NamedSensor> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found), matches);
    return found;
}

/// The one of them that a user means.
NamedSensor oneOf(const std::vector<NamedSensor>& all, std::string_view what)
{
    auto found = those(all, [what](const NamedSensor& sensor) { return sensor.name == what; });
    const auto address = parseAddress(what);
    if (found.empty() && address)
        found = those(all, [&address](const NamedSensor& sensor) { return address->matches(sensor.key); });
    const auto ofBmc = [](const NamedSensor& sensor) { return sensor.key.owner == kBmcAddress && sensor.key.lun == 0; };
    if (found.size() > 1 && address && those(found, ofBmc).size() == 1)
        found = those(found, ofBmc); // a number alone means the BMC's own sensor
    if (found.size() == 1)
        return found[0];
    const std::string quoted = '"' + std::string(what) + '"';
    throw BadFile(found.empty() ? "no sensor " + quoted + "; trx-bmcsim ctl sensors lists them"
                                : "several sensors are " + quoted + "; name one as NUMBER@OWNER/LUN");
}

} // namespace

std::vector<NamedSensor> namedSensors(const Machine& machine)
{
    std::vector<NamedSensor> all;
    for (const auto& [key, sensor] : sensorsByKey(machine)) {
        if (machine.sensors.contains(key))
            all.push_back(sensor);
    }
    return all;
}

NamedSensor findSensor(const Machine& machine, std::string_view what)
{
    return oneOf(namedSensors(machine), what);
}

NamedSensor findEventSource(const Machine& machine, std::string_view what)
{
    std::vector<NamedSensor> all;
    for (const auto& [key, sensor] : sensorsByKey(machine))
        all.push_back(sensor);
    return oneOf(all, what);
}

} // namespace Sim
