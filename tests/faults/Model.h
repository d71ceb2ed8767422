// SPDX-License-Identifier: Apache-2.0
// What a test sees of a loaded machine, to compare one load with another.
#pragma once

#include "sdr/SdrBmc.h"

#include "ipmi/IpmiIfc.h"

#include <cstdlib>
#include <span>
#include <string>
#include <vector>

namespace FaultTest
{

#ifdef TRX_SANITIZED
inline constexpr bool kSanitized = true; ///< everything is slow
#else
inline constexpr bool kSanitized = false;
#endif

/// One line a sensor: name, record, reading and thresholds; one an entity, with the one that contains it; one a record
/// of the event log; one a FRU and one for each of its areas that can be used.
using Model = std::vector<std::string>;

template <typename Numbers = std::initializer_list<unsigned>> std::string inWords(const Numbers& numbers)
{
    std::string words;
    for (const unsigned number : numbers)
        words += ' ' + std::to_string(number);
    return words;
}

inline Model currentModel()
{
    Model lines;
    for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0)) {
        const unsigned char* record = nullptr;
        int length = 0;
        sensor->RawRecord(record, length);
        const auto reading = sensor->getLastReading(); // not whether it is present: those that are not are asked rarely
        const auto thresholds = sensor->getLastThresholds();
        lines.push_back(sensor->getName() + inWords(std::span(record, static_cast<std::size_t>(length))) +
                        inWords({reading.cc, reading.raw, reading.flags, reading.state1, reading.state2, reading.valid,
                                 thresholds.cc, thresholds.readable}) +
                        inWords(thresholds.raw));
    }
    for (const Ipmi::IpmiEntity& entity : Ipmi::IpmiIfc::getEntities(0)) {
        const Ipmi::IpmiEntity parent = entity.getParent();
        lines.push_back(entity.getName() + inWords({entity.getInstance()}) + " in " + parent.getName() +
                        inWords({parent.getInstance()}));
    }
    for (const auto& record : Ipmi::IpmiIfc::getSelData(0))
        lines.push_back("event" + inWords(record->rawRecord().bytes));
    for (const auto& fru : Ipmi::IpmiIfc::getFrus(0))
        for (const auto& area : fru->getOptionalRefArray())
            lines.push_back("area of FRU" + inWords({fru->getSlaveAddress(), fru->getOwnerId()}) +
                            inWords(std::span(area->bytes(), area->length())));
    for (const Ipmi::IpmiFruDevice& device : Ipmi::IpmiIfc::getFruDevices(0)) {
        lines.push_back("FRU" +
                        inWords({device.controller, device.id, static_cast<unsigned>(device.state), device.size}));
        for (const Ipmi::IpmiFruArea& area : device.areas)
            lines.back() += inWords({static_cast<unsigned>(area.kind), area.checksumOk, area.whole});
    }
    return lines;
}

/// Those commands that the driver sends to carry the library's to a satellite. How many there are depends on time.
inline bool isDrivers(std::uint8_t netfn, std::uint8_t cmd)
{
    return netfn == 0x06 && cmd >= 0x31 && cmd <= 0x34;
}

/// Of a random test: every run is the same, but where TRX_SEED says otherwise.
inline std::uint64_t firstSeed()
{
    const char* text = std::getenv("TRX_SEED");
    return text ? std::strtoull(text, nullptr, 0) : 1;
}

/// The machine with readings that stay.
inline Sim::Machine steady(Sim::Machine machine)
{
    for (auto& [key, sensor] : machine.sensors)
        sensor.raw = Sim::RawSource::constant(sensor.raw.at(0));
    return machine;
}

} // namespace FaultTest
