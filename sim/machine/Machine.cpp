// SPDX-License-Identifier: Apache-2.0
// What follows from the data alone: answers, raw readings, who is present.
#include "sim/machine/Machine.h"

#include "sim/machine/SdrLayout.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>

namespace Sim
{

namespace
{

std::uint32_t scrambled(std::uint32_t value)
{
    value ^= value >> 16;
    value *= 0x7feb352dU;
    value ^= value >> 15;
    value *= 0x846ca68bU;
    return value ^ (value >> 16);
}

std::uint8_t bcd(std::uint8_t number)
{
    const auto low = std::min<unsigned>(number, 99);
    return static_cast<std::uint8_t>(low / 10 << 4 | low % 10);
}

} // namespace

Bytes Identity::deviceIdAnswer() const
{
    const auto byteOf = [](std::uint32_t value, unsigned shift) { return static_cast<std::uint8_t>(value >> shift); };
    Bytes answer{deviceId,
                 static_cast<std::uint8_t>((providesSdrs ? 0x80 : 0) | (deviceRevision & 0x0f)),
                 static_cast<std::uint8_t>(firmwareMajor & 0x7f),
                 bcd(firmwareMinor),
                 ipmiVersion,
                 supports,
                 byteOf(manufacturer, 0),
                 byteOf(manufacturer, 8),
                 byteOf(manufacturer & 0xfffff, 16),
                 byteOf(product, 0),
                 byteOf(product, 8)};
    if (auxiliaryFirmware)
        std::copy(auxiliaryFirmware->begin(), auxiliaryFirmware->end(), std::back_inserter(answer));
    return answer;
}

std::uint8_t RawSource::at(std::uint64_t reading) const
{
    const int span = high - low;
    const auto phase = static_cast<std::uint32_t>(reading % std::max(period, 1U));
    const double part = phase / static_cast<double>(std::max(period, 1U));
    int value = low;
    switch (kind) {
    case Kind::constant:
        break;
    case Kind::ramp:
        value += static_cast<int>(std::lround(span * part));
        break;
    case Kind::sine:
        value += static_cast<int>(std::lround(span * (1 + std::sin(2 * std::numbers::pi * part)) / 2));
        break;
    case Kind::noise:
        value += static_cast<int>(scrambled(scrambled(seed) + static_cast<std::uint32_t>(reading)) %
                                  static_cast<std::uint32_t>(span + 1));
        break;
    }
    return static_cast<std::uint8_t>(value & 0xff);
}

int Sensor::ordered(std::uint8_t rawReading) const
{
    int value = rawReading;
    if (rawReading >= 0x80 && format == RawFormat::twosComplement)
        value -= 0x100;
    else if (rawReading >= 0x80 && format == RawFormat::onesComplement)
        value -= 0xff;
    return descending ? -value : value;
}

std::uint8_t Sensor::crossedThresholds(std::uint8_t rawReading) const
{
    const int value = ordered(rawReading);
    std::uint8_t crossed = 0;
    for (unsigned i = 0; i < thresholds.size(); ++i) {
        const int limit = ordered(thresholds[i]);
        const bool lower = i < 3;
        if ((readableThresholds >> i & 1) != 0 && (lower ? value <= limit : value >= limit))
            crossed = static_cast<std::uint8_t>(crossed | 1U << i);
    }
    return crossed;
}

Sensor* Machine::find(const SensorKey& key)
{
    const auto found = sensors.find(key);
    return found == sensors.end() ? nullptr : &found->second;
}

const Sensor* Machine::find(const SensorKey& key) const
{
    const auto found = sensors.find(key);
    return found == sensors.end() ? nullptr : &found->second;
}

bool Machine::hasFru(std::uint8_t address) const
{
    const auto first = fru.lower_bound(FruKey(0, address, 0));
    return first != fru.end() && first->first.address == address;
}

Presence Machine::presenceOf(std::uint8_t channel, std::uint8_t address) const
{
    if (address == kBmcAddress)
        return Presence::answers;
    if (const auto found = controllers.find(address); found != controllers.end())
        return found->second.channel == channel ? found->second.presence : Presence::silent;
    // An odd owner is a software id: nobody is at such an address.
    const auto first = sensors.lower_bound(SensorKey{address, 0, 0});
    const bool owner = address % 2 == 0 && first != sensors.end() && first->first.owner == address;
    return owner || hasFru(address) ? Presence::answers : Presence::silent;
}

std::uint8_t Machine::channelOf(std::uint8_t address) const
{
    const auto found = controllers.find(address);
    return found == controllers.end() ? std::uint8_t{0} : found->second.channel;
}

bool Machine::isIpmb(std::uint8_t channel) const
{
    constexpr std::uint8_t kHighestIpmb = 0x0b;
    const auto hasSatellite = [&](const auto& entry) { return entry.second.channel == channel; };
    const auto hasOwner = [&](const Bytes& record) {
        return record.size() > SdrLayout::kLun && SdrLayout::sensorCount(record) != 0 &&
               record[SdrLayout::kOwner] % 2 == 0 && record[SdrLayout::kOwner] != kBmcAddress &&
               record[SdrLayout::kLun] >> 4 == channel;
    };
    return channel <= kHighestIpmb &&
           (channel == 0 || std::any_of(controllers.begin(), controllers.end(), hasSatellite) ||
            std::any_of(sdr.begin(), sdr.end(), hasOwner));
}

Bytes sdrBytes(const Machine& machine, bool bmcOnly)
{
    Bytes all;
    for (const Bytes& record : machine.sdr) {
        const bool foreign = SdrLayout::sensorCount(record) != 0 && record.size() > SdrLayout::kOwner &&
                             record[SdrLayout::kOwner] != kBmcAddress;
        if (!bmcOnly || !foreign)
            all.insert(all.end(), record.begin(), record.end());
    }
    return all;
}

} // namespace Sim
