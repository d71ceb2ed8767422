// SPDX-License-Identifier: Apache-2.0
// Thresholds in the sensor's units, and the state that they make.
#include "ipmi/IpmiThresholdSensor.h"

#include "ipmi/CmpiStatus.h"
#include "sdr/SensorCommands.h"
#include "wire/SdrLayout.h"

namespace Ipmi
{

namespace
{

constexpr unsigned int kEvents = 0x0fff;    ///< twelve; the mask bits above are threshold reading masks
constexpr unsigned int kComparisons = 0x3f; ///< of the state byte
constexpr unsigned int kThresholds = 0x3f;
constexpr unsigned int kComparedShift = 12, kCompared = 0x07; ///< of a mask: the thresholds a reading is compared with

/// Thresholds by index: bit in masks and comparison bits, place in answers.
enum Threshold : int {
    kLowerNonCritical,
    kLowerCritical,
    kLowerNonRecoverable,
    kUpperNonCritical,
    kUpperCritical,
    kUpperNonRecoverable
};

struct Crossing {
    Threshold threshold;
    const char* name;
};
constexpr Crossing kWorstFirst[] = {
    {kLowerNonRecoverable, "lower non-recoverable"},
    {kUpperNonRecoverable, "upper non-recoverable"},
    {kLowerCritical, "lower critical"},
    {kUpperCritical, "upper critical"},
    {kLowerNonCritical, "lower non-critical"},
    {kUpperNonCritical, "upper non-critical"},
};

} // namespace

IpmiThresholdSensor::IpmiThresholdSensor(int len, const unsigned char* sdr, int node) : IpmiSensor(len, sdr, node) {}

std::string IpmiThresholdSensor::getState(bool refresh)
{
    prepareState(refresh, firstThresholdState_);
    const Reading reading = getLastReading();
    if (!reading.available())
        return {};
    // Crossings count whatever the record's masks say: servers whose records leave the masks 0 report them.
    for (const Crossing& crossing : kWorstFirst) {
        if (reading.state1 >> crossing.threshold & 1)
            return crossing.name;
    }
    return "ok";
}

int IpmiThresholdSensor::getSensorState(int& state)
{
    state = 0;
    const int result = readNow();
    const Reading reading = getLastReading();
    if (result == 0 && reading.available())
        state = static_cast<int>(reading.state1 & kComparisons);
    return result;
}

std::uint16_t IpmiThresholdSensor::getAssertionEventMask() const
{
    return mask(wire::sdr::kAssertionMask) & kEvents;
}

std::uint16_t IpmiThresholdSensor::getDeassertionEventMask() const
{
    return mask(wire::sdr::kDeassertionMask) & kEvents;
}

int IpmiThresholdSensor::rearmEvents(unsigned short assertions, unsigned short deassertions) const
{
    return sendRearmEvents(*this, kEvents, assertions, deassertions);
}

int IpmiThresholdSensor::getEventEnable(unsigned char& flags, unsigned short& assertions,
                                        unsigned short& deassertions) const
{
    return sendGetEventEnable(*this, kEvents, flags, assertions, deassertions);
}

int IpmiThresholdSensor::setEventEnable(unsigned char flags, unsigned short assertions,
                                        unsigned short deassertions) const
{
    return sendSetEventEnable(*this, kEvents, flags, assertions, deassertions);
}

unsigned char IpmiThresholdSensor::getLowerThresholdReadingMask() const
{
    return mask(wire::sdr::kAssertionMask) >> kComparedShift & kCompared;
}

unsigned char IpmiThresholdSensor::getUpperThresholdReadingMask() const
{
    return mask(wire::sdr::kDeassertionMask) >> kComparedShift & kCompared;
}

unsigned char IpmiThresholdSensor::getReadableMask() const
{
    return mask(wire::sdr::kReadableThresholds) & kThresholds;
}

unsigned char IpmiThresholdSensor::getSettableMask() const
{
    return mask(wire::sdr::kSettableThresholds) & kThresholds;
}

double IpmiThresholdSensor::threshold(int index) const
{
    const Thresholds answer = getLastThresholds();
    const int readable = getReadableMask() & answer.readable;
    if (!isConvertible() || answer.cc != 0 || !(readable >> index & 1))
        throw CmpiStatus(CMPI_RC_ERR_FAILED);
    return convertRawValue(answer.raw[index]);
}

double IpmiThresholdSensor::getLowerThresholdNonCritical() const
{
    return threshold(kLowerNonCritical);
}

double IpmiThresholdSensor::getLowerThresholdCritical() const
{
    return threshold(kLowerCritical);
}

double IpmiThresholdSensor::getLowerThresholdNonRecoverable() const
{
    return threshold(kLowerNonRecoverable);
}

double IpmiThresholdSensor::getUpperThresholdNonCritical() const
{
    return threshold(kUpperNonCritical);
}

double IpmiThresholdSensor::getUpperThresholdCritical() const
{
    return threshold(kUpperCritical);
}

double IpmiThresholdSensor::getUpperThresholdNonRecoverable() const
{
    return threshold(kUpperNonRecoverable);
}

} // namespace Ipmi
