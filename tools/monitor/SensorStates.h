// SPDX-License-Identifier: Apache-2.0
// The states of a node's sensors, and what became of them.
#pragma once

#include "sensors/SensorView.h"

#include <map>
#include <string>
#include <vector>

namespace Tool
{

/// One sensor's state: empty without a reading.
struct SensorState {
    std::string code;  ///< as IpmiSensor::getState gives it
    std::string words; ///< the same for people: asserted states by name
};

struct SensorChange {
    TRX::Reference<Ipmi::IpmiSensor> sensor;
    SensorState before, now;
};

class SensorStates
{
public:
    SensorStates() = default;
    explicit SensorStates(const Sensors& sensors);

    /// Of the sensors that are there now and were there before, those with another state.
    std::vector<SensorChange> changesSince(const SensorStates& before) const;

private:
    struct Entry {
        TRX::Reference<Ipmi::IpmiSensor> sensor;
        SensorState state;
    };
    std::map<std::string, Entry> byDevice_; ///< by what survives a new read of the repository
};

} // namespace Tool
