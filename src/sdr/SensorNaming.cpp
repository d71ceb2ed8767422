// SPDX-License-Identifier: Apache-2.0
// Which sensor of a shared record each is, and the names that follow.
#include "sdr/SensorNaming.h"

#include "sdr/IdString.h"
#include "sdr/SensorAccess.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <set>
#include <span>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

namespace Ipmi
{

namespace sdr = wire::sdr;

namespace
{

/// Where a kind of record has its identifier, and how its sensors share it.
struct IdPlaces {
    unsigned int idCode;
    unsigned int sharing = 0; ///< 0: never shared
    unsigned int modifierOffset = 0;
};

std::optional<IdPlaces> idPlacesOf(const IpmiSdrRecord& record)
{
    switch (record.at(sdr::kType)) {
    case sdr::kFullType:
        return IdPlaces{sdr::full::kIdCode};
    case sdr::kCompactType:
        return IdPlaces{sdr::compact::kIdCode, sdr::compact::kSharing, sdr::compact::kModifierOffset};
    case sdr::kEventOnlyType:
        return IdPlaces{sdr::event_only::kIdCode, sdr::event_only::kSharing, sdr::event_only::kModifierOffset};
    default:
        return std::nullopt;
    }
}

/// A sensor's part in a shared record (IPMI 2.0, table 43-2, bytes 24 and 25). The record that was read has the count
/// of all its sensors; each further one has a count one lower, and a sensor number and an offset one higher.
struct Share {
    unsigned int count = 0, modifierType = 0, offset = 0;
};

Share shareOf(const IpmiSdrRecord& record)
{
    const auto kind = idPlacesOf(record);
    if (!kind || kind->sharing == 0)
        return {};
    const unsigned int sharing = record.at(kind->sharing);
    return {sharing & sdr::kShareCountBits, wire::bits(sharing, 5, 4),
            unsigned{record.at(kind->modifierOffset)} & sdr::kModifierBits};
}

/// What the sensors of one shared record have in common, and the place of one of them.
using SharePlace = std::tuple<unsigned int, unsigned int, unsigned int, unsigned int, unsigned int>;

SharePlace placeOf(const IpmiSensor& sensor, const Share& share, unsigned int step)
{
    const IpmiSdrRecord& record = SensorAccess::record(sensor);
    return {record.at(sdr::kType), record.le16(sdr::kId), record.le16(sdr::kOwner),
            (record.at(sdr::kNumber) + step) & 0xff, (share.offset + step) & 0x7f};
}

/// The last sensor of a shared record has share count 1, as many unshared records have, some of them with an offset:
/// what tells them apart is the sensor before it.
void findLastOfShares(std::vector<TRX::Reference<IpmiSensor>>& sensors)
{
    std::set<SharePlace> lasts;
    for (const auto& sensor : sensors) {
        if (const Share share = shareOf(SensorAccess::record(*sensor)); share.count == 2)
            lasts.insert(placeOf(*sensor, share, 1));
    }
    for (const auto& sensor : sensors) {
        const Share share = shareOf(SensorAccess::record(*sensor));
        if (share.count == 1 && lasts.count(placeOf(*sensor, share, 0)) != 0)
            SensorAccess::setLastOfShare(*sensor);
    }
}

/// Sensors in the order of the repository, whatever the order they were built in.
std::vector<IpmiSensor*> inRecordOrder(const std::vector<TRX::Reference<IpmiSensor>>& sensors)
{
    std::vector<IpmiSensor*> ordered;
    ordered.reserve(sensors.size());
    for (const auto& sensor : sensors)
        ordered.push_back(sensor.get());
    const auto key = [](const IpmiSensor* sensor) {
        return std::make_tuple(sensor->getSensorRecordNumber(), sensor->getOwnerId(), sensor->getChannel(),
                               sensor->getLun(), sensor->getSensorNumber());
    };
    std::stable_sort(ordered.begin(), ordered.end(),
                     [&key](const IpmiSensor* a, const IpmiSensor* b) { return key(a) < key(b); });
    return ordered;
}

} // namespace

void assignNames(std::vector<TRX::Reference<IpmiSensor>>& sensors)
{
    findLastOfShares(sensors);
    const std::vector<IpmiSensor*> ordered = inRecordOrder(sensors);
    std::unordered_map<std::string, unsigned int> users; // plain names and how many sensors got one from each
    for (const IpmiSensor* sensor : ordered)
        users.emplace(plainName(*sensor), 0);
    std::unordered_set<std::string> given; // made names
    for (IpmiSensor* sensor : ordered) {
        const std::string plain = plainName(*sensor);
        std::string name = plain;
        unsigned int& number = users[plain];
        if (++number > 1) {
            // The first user keeps the plain name; a made one must be neither a plain name nor made before.
            for (name = plain + " #" + std::to_string(number); users.count(name) != 0 || !given.insert(name).second;)
                name = plain + " #" + std::to_string(++number);
        }
        SensorAccess::setName(*sensor, std::move(name));
    }
}

std::string plainName(const IpmiSensor& sensor)
{
    std::string name = sensor.getSensorIdString();
    if (!name.empty())
        return name;
    char text[sizeof "Sensor 0xff"];
    std::snprintf(text, sizeof text, "Sensor 0x%02x", sensor.getSensorNumber());
    return text;
}

std::string IpmiSensor::getSensorIdString() const
{
    constexpr unsigned int kNumeric = 0, kAlphabetic = 1;
    const auto kind = idPlacesOf(record_);
    if (!kind || kind->idCode >= record_.length)
        return {};
    const std::span<const std::uint8_t> bytes(record_.bytes, record_.length);
    std::string id = decodeIdString(bytes.subspan(kind->idCode));
    const Share share = shareOf(record_);
    const bool modified = (share.count > 1 || lastOfShare_) && share.modifierType <= kAlphabetic;
    const bool separated = modified && !id.empty() && id.back() == ' ';
    trimRight(id);
    if (id.empty() || !modified)
        return id;
    if (separated) // "Temp " and 5 is "Temp 5", "Temp" and 5 is "Temp5"; padding counts as one blank
        id += ' ';
    return id + instanceModifier(share.modifierType != kNumeric, share.offset);
}

} // namespace Ipmi
