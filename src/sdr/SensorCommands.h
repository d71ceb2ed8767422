// SPDX-License-Identifier: Apache-2.0
// Commands about one sensor, sent to the controller that owns it (IPMI 2.0, section 35).
#pragma once

#include "ipmi/IpmiSensor.h"
#include "transport/Answer.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

#include <cstdint>
#include <span>

namespace Ipmi
{

/// Where a sensor is asked.
struct SensorAddress {
    int node;
    std::uint8_t owner, lun, channel, number;

    static SensorAddress of(const IpmiSensor& sensor);
    /// As a record says: an IpmiSdrRecord, or an entry of the repository's lists.
    template <typename Record> static SensorAddress of(int node, const Record& record)
    {
        const unsigned int lun = record.at(wire::sdr::kLun);
        return {node, record.at(wire::sdr::kOwner), static_cast<std::uint8_t>(wire::bits(lun, 1, 0)),
                static_cast<std::uint8_t>(wire::bits(lun, 7, 4)), record.at(wire::sdr::kNumber)};
    }
    /// System software owns the sensor: there is no controller to ask.
    bool isSoftware() const { return (owner & wire::sdr::kSoftwareOwner) != 0; }
};

/// Sends a command with the sensor's number and `data` to the controller that owns the sensor; no answer where that is
/// system software.
Answer askSensor(const SensorAddress& address, wire::Command command, std::span<const std::uint8_t> data = {});

/// Get Sensor Reading. @return 0, a completion code, -1 without an answer
int readSensor(const SensorAddress& address, Answer& answer);
/// Get Sensor Thresholds from the sensor's owner, into `sensor`; then its hysteresis. On failure it keeps what it had.
void readThresholds(const SensorAddress& address, IpmiSensor& sensor);

/// The event commands; `events` is the mask of the events that the kind of sensor has.
int sendRearmEvents(const IpmiSensor& sensor, unsigned int events, unsigned short assertions,
                    unsigned short deassertions);
int sendGetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char& flags, unsigned short& assertions,
                       unsigned short& deassertions);
int sendSetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char flags, unsigned short assertions,
                       unsigned short deassertions);

} // namespace Ipmi
