// SPDX-License-Identifier: Apache-2.0
// Changes to what a BMC remembers that touch more than one thing at once.
#include "sim/bmc/BmcState.h"

#include "sim/bmc/SensorEvents.h"
#include "sim/machine/SdrLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

/// Past all ids of the records; 0: none is left.
template <typename Records> std::uint16_t freeId(const Records& records)
{
    std::uint16_t last = 0;
    for (const auto& record : records)
        last = std::max(last, wordAt(record, 0));
    return last >= 0xfffe ? std::uint16_t{0} : static_cast<std::uint16_t>(last + 1); // FFFFh means the last record
}

} // namespace

BmcState::BmcState(Machine machineOf, SelClock::Steady steady)
    : machine(std::move(machineOf)), clock(std::move(steady)), log(machine, clock)
{
    followAll(); // as the machine is at first, nothing has happened
}

std::uint16_t BmcState::newReservation()
{
    if (++lastReservation == 0)
        ++lastReservation;
    return lastReservation;
}

void BmcState::touchRepository()
{
    machine.sdrAddTime = std::max(machine.sdrAddTime + 1, now());
    sdrReservation = 0;
}

bool BmcState::removeSdr(std::uint16_t id)
{
    const auto same = [id](const Bytes& record) { return record.size() >= 2 && wordAt(record, 0) == id; };
    if (std::erase_if(machine.sdr, same) == 0)
        return false;
    noteErasure();
    return true;
}

void BmcState::removeLastSdr()
{
    if (machine.sdr.empty())
        return;
    machine.sdr.pop_back();
    noteErasure();
}

void BmcState::noteErasure()
{
    machine.sdrEraseTime = std::max(machine.sdrEraseTime + 1, now());
    touchRepository();
}

void BmcState::addOemSdr()
{
    constexpr std::uint8_t kManufacturerSize = 3;
    const std::uint16_t id = freeId(machine.sdr);
    if (id == 0)
        return;
    Bytes record;
    putWord(record, id);
    putBytes(record, Bytes{machine.sdrVersion, SdrLayout::kOemType, kManufacturerSize, 0, 0, 0});
    machine.sdr.push_back(std::move(record));
    touchRepository();
}

std::uint16_t BmcState::raiseEvent(SelRecord record, bool always)
{
    constexpr std::uint16_t kNotLogged = 0xffff;
    record = log.stamped(record);
    const std::uint16_t id = always || eventLogging ? log.add(record) : std::uint16_t{0};
    setId(record, id == 0 ? kNotLogged : id);
    events.push(record);
    return id;
}

bool BmcState::setUnavailable(const SensorKey& key, bool unavailable)
{
    Sensor* sensor = machine.find(key);
    if (sensor == nullptr)
        return false;
    sensor->flags =
        static_cast<std::uint8_t>((sensor->flags & ~kReadingUnavailable) | (unavailable ? kReadingUnavailable : 0));
    follow(*sensor);
    return true;
}

bool BmcState::setStates(const SensorKey& key, std::uint16_t states)
{
    Sensor* sensor = machine.find(key);
    if (sensor == nullptr)
        return false;
    sensor->states = states;
    follow(*sensor);
    return true;
}

void BmcState::follow(Sensor& sensor)
{
    const std::vector<SensorEvent> events = takeEvents(sensor);
    const std::uint8_t channel = machine.channelOf(sensor.key.owner);
    if (events.empty() || machine.presenceOf(channel, sensor.key.owner) != Presence::answers)
        return;
    for (const SensorEvent& event : events)
        raiseEvent(recordOf(sensor, event, channel));
}

void BmcState::followAll()
{
    for (auto& [key, sensor] : machine.sensors)
        follow(sensor);
}

void BmcState::loseReservations()
{
    sdrReservation = 0;
    log.cancelReservation();
}

void BmcState::reset()
{
    loseReservations();
    systemInfo.clear();
    systemInfoProgress = 0;
    lanProgress = 0;
    lanAccess.reset();
    eventLogging = true;
}

} // namespace Sim
