#include "ipmi/IpmiDiscreteSensor.h"

#include "sdr/SdrLayout.h"
#include "sdr/SensorCommands.h"

namespace Ipmi
{

namespace
{

constexpr unsigned int kStates = 15;
constexpr unsigned int kEvents = (1U << kStates) - 1;

unsigned int stateWord(const IpmiSensor::Reading& reading)
{
    return static_cast<unsigned int>(reading.state1 | reading.state2 << 8) & kEvents;
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
    for (unsigned int offset = 0; offset < kStates; ++offset) {
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
    return mask(sdr_record::kAssertionMask);
}

std::uint16_t IpmiDiscreteSensor::getDeassertionEventMask() const
{
    return mask(sdr_record::kDeassertionMask);
}

int IpmiDiscreteSensor::rearmEvents(unsigned short assertions, unsigned short deassertions) const
{
    return sendRearmEvents(*this, kEvents, assertions, deassertions);
}

int IpmiDiscreteSensor::getEventEnable(unsigned char& flags, unsigned short& assertions,
                                       unsigned short& deassertions) const
{
    return sendGetEventEnable(*this, kEvents, flags, assertions, deassertions);
}

int IpmiDiscreteSensor::setEventEnable(unsigned char flags, unsigned short assertions,
                                       unsigned short deassertions) const
{
    return sendSetEventEnable(*this, kEvents, flags, assertions, deassertions);
}

std::uint16_t IpmiDiscreteSensor::getReadingMask() const
{
    return mask(sdr_record::kReadingMask);
}

} // namespace Ipmi
