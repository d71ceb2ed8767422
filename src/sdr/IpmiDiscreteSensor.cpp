// SPDX-License-Identifier: Apache-2.0
// States of a sensor that reports them by number.
#include "ipmi/IpmiDiscreteSensor.h"

#include "sdr/SensorCommands.h"
#include "wire/EventTypes.h"
#include "wire/SdrLayout.h"

namespace Ipmi
{

namespace
{

unsigned int stateWord(const IpmiSensor::Reading& reading)
{
    return le16(reading.state1, reading.state2) & wire::kOffsetBits;
}

} // namespace

IpmiDiscreteSensor::IpmiDiscreteSensor(int len, const unsigned char* sdr, int node) : IpmiSensor(len, sdr, node) {}

std::string IpmiDiscreteSensor::getState(bool refresh)
{
    prepareState(refresh, firstDiscreteState_);
    const Reading reading = getLastReading();
    if (!reading.available())
        return {};
    const unsigned int states = stateWord(reading);
    std::string text;
    for (unsigned int offset = 0; offset < wire::kOffsets; ++offset) {
        if (states >> offset & 1)
            text += (text.empty() ? "" : ",") + std::to_string(offset);
    }
    return text.empty() ? "none" : text;
}

int IpmiDiscreteSensor::getSensorState(int& state)
{
    state = 0;
    const int result = readNow();
    const Reading reading = getLastReading();
    if (result == 0 && reading.available())
        state = static_cast<int>(stateWord(reading));
    return result;
}

std::uint16_t IpmiDiscreteSensor::getAssertionEventMask() const
{
    return mask(wire::sdr::kAssertionMask);
}

std::uint16_t IpmiDiscreteSensor::getDeassertionEventMask() const
{
    return mask(wire::sdr::kDeassertionMask);
}

int IpmiDiscreteSensor::rearmEvents(unsigned short assertions, unsigned short deassertions) const
{
    return sendRearmEvents(*this, wire::kOffsetBits, assertions, deassertions);
}

int IpmiDiscreteSensor::getEventEnable(unsigned char& flags, unsigned short& assertions,
                                       unsigned short& deassertions) const
{
    return sendGetEventEnable(*this, wire::kOffsetBits, flags, assertions, deassertions);
}

int IpmiDiscreteSensor::setEventEnable(unsigned char flags, unsigned short assertions,
                                       unsigned short deassertions) const
{
    return sendSetEventEnable(*this, wire::kOffsetBits, flags, assertions, deassertions);
}

std::uint16_t IpmiDiscreteSensor::getReadingMask() const
{
    return mask(wire::sdr::kReadingMask);
}

} // namespace Ipmi
