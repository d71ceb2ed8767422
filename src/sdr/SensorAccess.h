// What the library does to its sensors and callers cannot.
#pragma once

#include "ipmi/IpmiSensor.h"
#include "sdr/SdrRepository.h"

#include <string>

namespace Ipmi
{

struct SensorAccess {
    static const IpmiSdrRecord& record(const IpmiSensor& sensor) { return sensor.record_; }

    /// One read attempt of `sensor`, by the record it was made from: fetches, keeps the result and how often it came,
    /// and stores the reading when there is one. @return as IpmiIfcSensorGetReading
    static int fetchReading(IpmiSensor& sensor, ipmiifc_sdr_list* sdr);

    /// The start of a read attempt (present, not valid), and its end with the result of the fetch.
    static void beginReadAttempt(IpmiSensor& sensor);
    static void endReadAttempt(IpmiSensor& sensor, int result);

    /// Get Sensor Hysteresis makes sense: the record says that it can be read.
    static bool hasReadableHysteresis(const IpmiSensor& sensor);

    /// Before the sensor is published.
    static void setName(IpmiSensor& sensor, std::string name) { sensor.name_ = std::move(name); }
    static void setLastOfShare(IpmiSensor& sensor) { sensor.lastOfShare_ = true; }
};

/// A sensor's record in the form that the lists have, for commands about a sensor that is no longer in them.
class ListEntry
{
public:
    explicit ListEntry(const IpmiSensor& sensor);

    ipmiifc_sdr_list sdr;

private:
    IpmiSdrRecord record_;
};

} // namespace Ipmi
