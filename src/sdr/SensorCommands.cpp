// SPDX-License-Identifier: Apache-2.0
// Asking a sensor's owner, which is not always the BMC.
#include "sdr/SensorCommands.h"

#include "sdr/SensorAccess.h"
#include "transport/TargetScope.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"

namespace Ipmi
{

namespace
{

constexpr unsigned int kAllEvents = 0x00, kSelectedEvents = 0x80; ///< of Re-arm Sensor Events

} // namespace

SensorAddress SensorAddress::of(const IpmiSensor& sensor)
{
    return of(sensor.getNode(), SensorAccess::record(sensor));
}

Answer askSensor(const SensorAddress& address, wire::Command command, std::span<const std::uint8_t> data)
{
    if (address.isSoftware())
        return {};
    const TargetScope owner(address.node, address.owner, address.lun, address.channel);
    return ask(address.node, command, wire::Writer().u8(address.number).bytes(data));
}

int sendRearmEvents(const IpmiSensor& sensor, unsigned int events, unsigned short assertions,
                    unsigned short deassertions)
{
    wire::Writer data;
    if ((assertions | deassertions) == 0)
        data.u8(kAllEvents);
    else
        data.u8(kSelectedEvents).le16(assertions & events).le16(deassertions & events);
    return askSensor(SensorAddress::of(sensor), wire::kRearmEvents, data).code();
}

int sendGetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char& flags, unsigned short& assertions,
                       unsigned short& deassertions)
{
    using namespace wire::event_enable;
    flags = 0;
    assertions = deassertions = 0;
    const Answer answer = askSensor(SensorAddress::of(sensor), wire::kGetEventEnable);
    if (!answer.good())
        return answer.code();
    flags = answer.at(kFlags);
    assertions = static_cast<unsigned short>(answer.le16(kAssertions) & events);
    deassertions = static_cast<unsigned short>(answer.le16(kDeassertions) & events);
    return 0;
}

int sendSetEventEnable(const IpmiSensor& sensor, unsigned int events, unsigned char flags, unsigned short assertions,
                       unsigned short deassertions)
{
    const wire::Writer data = wire::Writer().u8(flags & 0xf0U).le16(assertions & events).le16(deassertions & events);
    return askSensor(SensorAddress::of(sensor), wire::kSetEventEnable, data).code();
}

} // namespace Ipmi
