#include "sdr/SensorCommands.h"

#include "node/IpmiNode.h"
#include "sdr/SdrLayout.h"

#include <array>
#include <vector>

namespace Ipmi
{

namespace
{

constexpr std::uint8_t kSelectedEvents = 0x80; ///< Re-arm Sensor Events: only those that the masks select

std::uint8_t low(unsigned int word)
{
    return static_cast<std::uint8_t>(word);
}

std::uint8_t high(unsigned int word)
{
    return static_cast<std::uint8_t>(word >> 8);
}

} // namespace

SensorAddress SensorAddress::of(int node, const ipmiifc_sdr_list& sdr)
{
    const std::uint8_t lun = sdr.at(sdr_record::kLun);
    return {node, sdr.at(sdr_record::kOwner), static_cast<std::uint8_t>(lun & 0x03),
            static_cast<std::uint8_t>(lun >> 4), sdr.at(sdr_record::kNumber)};
}

SensorAddress SensorAddress::of(const IpmiSensor& sensor)
{
    return {sensor.getNode(), sensor.getOwnerId(), sensor.getLun(), sensor.getChannel(), sensor.getSensorNumber()};
}

Response askSensor(const SensorAddress& address, std::uint8_t command, std::span<const std::uint8_t> data)
{
    if (!isNode(address.node) || address.isSoftware())
        return {};
    std::vector<std::uint8_t> request{address.number};
    request.insert(request.end(), data.begin(), data.end());
    const TargetScope owner(address.node, address.owner, address.lun, address.channel);
    return sendCommand(address.node, kSensorEvent, command, request);
}

int resultOf(const Response& reply)
{
    return reply ? reply->cc : -1;
}

int sendRearmEvents(const IpmiSensor& sensor, unsigned int events, unsigned short assertions,
                    unsigned short deassertions)
{
    const unsigned int on = assertions & events;
    const unsigned int off = deassertions & events;
    if ((assertions | deassertions) == 0) {
        constexpr std::array<std::uint8_t, 1> kAllEvents = {0x00};
        return resultOf(askSensor(SensorAddress::of(sensor), sensor_command::kRearmEvents, kAllEvents));
    }
    const std::array<std::uint8_t, 5> data = {kSelectedEvents, low(on), high(on), low(off), high(off)};
    return resultOf(askSensor(SensorAddress::of(sensor), sensor_command::kRearmEvents, data));
}

int sendGetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char& flags, unsigned short& assertions,
                       unsigned short& deassertions)
{
    flags = 0;
    assertions = deassertions = 0;
    const Response reply = askSensor(SensorAddress::of(sensor), sensor_command::kGetEventEnable);
    const int result = resultOf(reply);
    if (result != 0)
        return result;
    flags = reply.at(1);
    assertions = static_cast<unsigned short>(reply.le16(2) & events);
    deassertions = static_cast<unsigned short>(reply.le16(4) & events);
    return 0;
}

int sendSetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char flags, unsigned short assertions,
                       unsigned short deassertions)
{
    const unsigned int on = assertions & events;
    const unsigned int off = deassertions & events;
    const std::array<std::uint8_t, 5> data = {static_cast<std::uint8_t>(flags & 0xf0), low(on), high(on), low(off),
                                              high(off)};
    return resultOf(askSensor(SensorAddress::of(sensor), sensor_command::kSetEventEnable, data));
}

} // namespace Ipmi
