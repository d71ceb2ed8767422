// Commands about one sensor, sent to the controller that owns it (IPMI 2.0, section 35).
#pragma once

#include "ipmi/IpmiSensor.h"
#include "node/IpmiIfcTransport.h"

#include <cstdint>
#include <span>

namespace Ipmi
{

namespace sensor_command
{
inline constexpr std::uint8_t kNetfn = 0x04;
inline constexpr std::uint8_t kGetHysteresis = 0x25, kSetEventEnable = 0x28, kGetEventEnable = 0x29,
                              kRearmEvents = 0x2a;
} // namespace sensor_command

/// Sends a sensor command with the sensor's number and `data`. No reply for a sensor owned by system software: it is
/// never asked.
Response sendSensorCommand(const IpmiSensor& sensor, std::uint8_t command, std::span<const std::uint8_t> data = {});

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
