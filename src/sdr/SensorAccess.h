// SPDX-License-Identifier: Apache-2.0
// What the library does to its sensors and callers cannot.
#pragma once

#include "ipmi/IpmiSensor.h"

#include <string>

namespace Ipmi
{

struct SensorAccess {
    static const IpmiSdrRecord& record(const IpmiSensor& sensor) { return sensor.record_; }

    static bool isFullOrCompact(const IpmiSensor& sensor) { return sensor.isFullOrCompact(); }

    /// One read attempt of `sensor`: fetches, keeps the result and how often it came, and stores the reading when there
    /// is one. @return 0, a completion code, -1 without an answer
    static int fetchReading(IpmiSensor& sensor);

    /// The start of a read attempt (present, not valid), and its end with the result of the fetch.
    static void beginReadAttempt(IpmiSensor& sensor);
    static void endReadAttempt(IpmiSensor& sensor, int result);

    /// Get Sensor Hysteresis makes sense: the record says that it can be read.
    static bool hasReadableHysteresis(const IpmiSensor& sensor);

    /// Before the sensor is published.
    static void setName(IpmiSensor& sensor, std::string name) { sensor.name_ = std::move(name); }
    static void setLastOfShare(IpmiSensor& sensor) { sensor.lastOfShare_ = true; }
};

} // namespace Ipmi
