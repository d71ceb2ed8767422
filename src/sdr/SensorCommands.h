// Commands about one sensor, sent to the controller that owns it (IPMI 2.0, section 35).
#pragma once

#include "ipmi/IpmiSensor.h"
#include "node/IpmiIfcTransport.h"
#include "sdr/SdrRepository.h"

#include <cstdint>
#include <span>

namespace Ipmi
{

namespace sensor_command
{
inline constexpr std::uint8_t kGetHysteresis = 0x25, kGetThresholds = 0x27, kSetEventEnable = 0x28,
                              kGetEventEnable = 0x29, kRearmEvents = 0x2a, kGetReading = 0x2d;
} // namespace sensor_command

/// Where a sensor is asked.
struct SensorAddress {
    int node;
    std::uint8_t owner, lun, channel, number;

    /// As the sensor's record says.
    static SensorAddress of(int node, const ipmiifc_sdr_list& sdr);
    static SensorAddress of(const IpmiSensor& sensor);
    /// System software owns the sensor: there is no controller to ask.
    bool isSoftware() const { return (owner & 0x01) != 0; }
};

/// Sends a command with the sensor's number and `data` to the controller that owns the sensor; no reply where that is
/// system software.
Response askSensor(const SensorAddress& address, std::uint8_t command, std::span<const std::uint8_t> data = {});

/// Completion code of a reply; -1 without one.
int resultOf(const Response& reply);

/// The event commands; `events` is the mask of the events that the kind of sensor has.
int sendRearmEvents(const IpmiSensor& sensor, unsigned int events, unsigned short assertions,
                    unsigned short deassertions);
int sendGetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char& flags, unsigned short& assertions,
                       unsigned short& deassertions);
int sendSetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char flags, unsigned short assertions,
                       unsigned short deassertions);

} // namespace Ipmi
