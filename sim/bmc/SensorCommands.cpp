// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: sensor device commands. The request's address and LUN choose the owner.
#include "sim/bmc/BmcCommand.h"
#include "sim/bmc/SensorEvents.h"

#include <algorithm>

namespace Sim
{

namespace
{

/// The sensor that a request's first byte names, or null.
Sensor* askedSensor(BmcState& state, const Request& request)
{
    return state.machine.find({request.address, request.lun, request.data[0]});
}

using SensorHandler = Bytes (*)(Sensor& sensor, const Request& request);

template <SensorHandler handler> Bytes onSensor(BmcState& state, const Request& request)
{
    Sensor* sensor = askedSensor(state, request);
    if (sensor == nullptr)
        return {kNotPresent};
    Bytes answer = handler(*sensor, request);
    state.follow(*sensor); // it may have moved, or what it is compared with
    return answer;
}

std::uint16_t comparedStates(const Sensor& sensor, std::uint8_t raw)
{
    if ((sensor.flags & kReadingUnavailable) != 0)
        return 0;
    if (sensor.states)
        return *sensor.states & 0x7fff;
    return sensor.hasThresholds() ? sensor.crossedThresholds(raw) : std::uint16_t{0};
}

Bytes getSensorReading(Sensor& sensor, const Request&)
{
    const bool unavailable = (sensor.flags & kReadingUnavailable) != 0;
    const std::uint8_t raw = unavailable ? std::uint8_t{0} : sensor.raw.at(sensor.readings++);
    const std::uint16_t states = comparedStates(sensor, raw);
    // Reserved bits read as 1: two of the comparison bits, the top one of the discrete states.
    const unsigned reserved = sensor.hasThresholds() ? 0x00c0 : 0x8000;
    Bytes answer{kOk, raw, sensor.flags};
    putWord(answer, states | reserved);
    return answer;
}

Bytes getReadingFactors(Sensor& sensor, const Request&)
{
    if (sensor.factors.empty() || sensor.format == RawFormat::none)
        return {kIllegalForSensor};
    Bytes answer{kOk, 0xff}; // the same factors for every reading
    putBytes(answer, sensor.factors);
    return answer;
}

Bytes getHysteresis(Sensor& sensor, const Request&)
{
    if (!sensor.hysteresisReadable)
        return {kIllegalForSensor};
    return {kOk, sensor.positiveHysteresis, sensor.negativeHysteresis};
}

Bytes setHysteresis(Sensor& sensor, const Request& request)
{
    if (!sensor.hysteresisSettable)
        return {kIllegalForSensor};
    sensor.positiveHysteresis = request.data[2];
    sensor.negativeHysteresis = request.data[3];
    return {kOk};
}

Bytes getThresholds(Sensor& sensor, const Request&)
{
    if (!sensor.hasThresholds())
        return {kIllegalForSensor};
    Bytes answer{kOk, sensor.readableThresholds};
    for (unsigned i = 0; i < sensor.thresholds.size(); ++i)
        answer.push_back((sensor.readableThresholds >> i & 1) != 0 ? sensor.thresholds[i] : std::uint8_t{0});
    return answer;
}

Bytes setThresholds(Sensor& sensor, const Request& request)
{
    const std::uint8_t mask = request.data[1];
    if (sensor.settableThresholds == 0)
        return {kIllegalForSensor};
    if ((mask & ~sensor.settableThresholds) != 0)
        return {kInvalidField};
    for (unsigned i = 0; i < sensor.thresholds.size(); ++i) {
        if ((mask >> i & 1) != 0)
            sensor.thresholds[i] = request.data[2 + i];
    }
    return {kOk};
}

Bytes getEventEnable(Sensor& sensor, const Request&)
{
    Bytes answer{kOk, static_cast<std::uint8_t>(sensor.flags & (kEventsEnabled | kScanningEnabled))};
    putWord(answer, sensor.assertionEvents);
    putWord(answer, sensor.deassertionEvents);
    return answer;
}

Bytes setEventEnable(Sensor& sensor, const Request& request)
{
    constexpr unsigned kKeep = 0, kEnable = 1, kDisable = 2;
    const unsigned operation = request.data[1] >> 4 & 3;
    if (operation > kDisable)
        return {kInvalidField};
    sensor.flags = static_cast<std::uint8_t>((sensor.flags & kReadingUnavailable) |
                                             (request.data[1] & (kEventsEnabled | kScanningEnabled)));
    if (operation == kKeep)
        return {kOk};
    const auto change = [&](std::uint16_t now, std::uint16_t selected) {
        return static_cast<std::uint16_t>(operation == kEnable ? now | selected : now & ~selected);
    };
    Bytes masks(request.data.begin() + 2, request.data.end());
    masks.resize(4); // mask bytes not sent select nothing
    sensor.assertionEvents = change(sensor.assertionEvents, wordAt(masks, 0) & 0x7fff);
    sensor.deassertionEvents = change(sensor.deassertionEvents, wordAt(masks, 2) & 0x7fff);
    return {kOk};
}

Bytes rearmEvents(Sensor& sensor, const Request& request)
{
    constexpr std::uint8_t kSelected = 0x80;
    if ((request.data[1] & kSelected) == 0) {
        rearm(sensor, 0xffff, 0xffff);
        return {kOk};
    }
    Bytes masks(request.data.begin() + 2, request.data.end());
    masks.resize(4); // mask bytes not sent select nothing
    rearm(sensor, wordAt(masks, 0), wordAt(masks, 2));
    return {kOk};
}

Bytes getEventStatus(Sensor& sensor, const Request&)
{
    Bytes answer{kOk, sensor.flags};
    putWord(answer, sensor.assertedEvents & sensor.assertionEvents);
    putWord(answer, sensor.deassertedEvents & sensor.deassertionEvents);
    return answer;
}

Bytes getSensorType(Sensor& sensor, const Request&)
{
    return {kOk, sensor.type, sensor.eventType};
}

/// Every sensor lets itself be set, whatever its record says: that is what a simulator is for.
Bytes setSensorReading(Sensor& sensor, const Request& request)
{
    enum Operation { kKeep, kWrite, kSetBits, kClearBits };
    Bytes data = request.data;
    data.resize(10); // what was not sent is zero
    const unsigned forReading = data[1] & 3, forStates = data[1] >> 4 & 3;
    if (forReading > kWrite)
        return {kInvalidField};
    if (forReading == kWrite) {
        sensor.raw = RawSource::constant(data[2]);
        sensor.flags = static_cast<std::uint8_t>(sensor.flags & ~kReadingUnavailable);
    }
    const auto given = static_cast<std::uint16_t>(wordAt(data, 3) & 0x7fff);
    const std::uint16_t now = sensor.states.value_or(0);
    if (forStates == kWrite)
        sensor.states = given;
    else if (forStates == kSetBits)
        sensor.states = static_cast<std::uint16_t>(now | given);
    else if (forStates == kClearBits)
        sensor.states = static_cast<std::uint16_t>(now & given); // bits sent as 0 are cleared
    return {kOk};
}

constexpr BmcCommand kSensorCommands[] = {
    {kSensorNetfn, 0x23, 2, 2, onSensor<getReadingFactors>, true},
    {kSensorNetfn, 0x24, 4, 4, onSensor<setHysteresis>, true},
    {kSensorNetfn, 0x25, 2, 2, onSensor<getHysteresis>, true},
    {kSensorNetfn, 0x26, 8, 8, onSensor<setThresholds>, true},
    {kSensorNetfn, 0x27, 1, 1, onSensor<getThresholds>, true},
    {kSensorNetfn, 0x28, 2, 6, onSensor<setEventEnable>, true},
    {kSensorNetfn, 0x29, 1, 1, onSensor<getEventEnable>, true},
    {kSensorNetfn, 0x2a, 2, 6, onSensor<rearmEvents>, true},
    {kSensorNetfn, 0x2b, 1, 1, onSensor<getEventStatus>, true},
    {kSensorNetfn, 0x2d, 1, 1, onSensor<getSensorReading>, true},
    {kSensorNetfn, 0x2f, 1, 1, onSensor<getSensorType>, true},
    {kSensorNetfn, 0x30, 2, 10, onSensor<setSensorReading>, true},
};

} // namespace

std::span<const BmcCommand> sensorCommands()
{
    return kSensorCommands;
}

} // namespace Sim
