// What a test sees of a loaded machine, to compare one load with another.
#pragma once

#include "sdr/SdrBmc.h"

#include "ipmi/IpmiIfc.h"

#include <iomanip>
#include <sstream>
#include <string>
#include <vector>

namespace FaultTest
{

/// One line a sensor: name, record, reading and thresholds; one an entity, with the one that contains it; one a record
/// of the event log.
using Model = std::vector<std::string>;

inline Model currentModel()
{
    Model lines;
    for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0)) {
        std::ostringstream line;
        const auto put = [&line](unsigned byte) { line << ' ' << std::setw(2) << byte; };
        line << sensor->getName() << std::hex << std::setfill('0');
        const unsigned char* record = nullptr;
        int length = 0;
        sensor->RawRecord(record, length);
        for (int i = 0; i < length; ++i)
            put(record[i]);
        const auto reading = sensor->getLastReading();
        for (const unsigned byte : {reading.cc, reading.raw, reading.flags, reading.state1, reading.state2})
            put(byte);
        line << (reading.valid ? " valid" : ""); // not whether it is present: those that are not are asked rarely
        const auto thresholds = sensor->getLastThresholds();
        put(thresholds.cc);
        put(thresholds.readable);
        for (const unsigned byte : thresholds.raw)
            put(byte);
        lines.push_back(line.str());
    }
    for (const Ipmi::IpmiEntity& entity : Ipmi::IpmiIfc::getEntities(0)) {
        const Ipmi::IpmiEntity parent = entity.getParent();
        lines.push_back(entity.getName() + ' ' + std::to_string(entity.getInstance()) + " in " + parent.getName() +
                        ' ' + std::to_string(parent.getInstance()));
    }
    for (const auto& record : Ipmi::IpmiIfc::getSelData(0)) {
        lines.push_back("event");
        for (const unsigned byte : record->rawRecord().bytes)
            lines.back() += ' ' + std::to_string(byte);
    }
    return lines;
}

/// The machine with readings that stay.
inline Sim::Machine steady(Sim::Machine machine)
{
    for (auto& [key, sensor] : machine.sensors)
        sensor.raw = Sim::RawSource::constant(sensor.raw.at(0));
    return machine;
}

} // namespace FaultTest
