#include "support/CallerUse.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"

namespace Support
{

using namespace Ipmi;

namespace
{

constexpr unsigned char (IpmiSensor::*kBytes[])() const = {&IpmiSensor::getSensorNumber,
                                                           &IpmiSensor::getOwnerId,
                                                           &IpmiSensor::getLun,
                                                           &IpmiSensor::getChannel,
                                                           &IpmiSensor::getSensorType,
                                                           &IpmiSensor::getEventReadingType,
                                                           &IpmiSensor::getRateUnit,
                                                           &IpmiSensor::getModifierUnitUse,
                                                           &IpmiSensor::getBaseUnit,
                                                           &IpmiSensor::getModifierUnit,
                                                           &IpmiSensor::getSensorDirection,
                                                           &IpmiSensor::getHysteresisSupport,
                                                           &IpmiSensor::getThresholdAccessSupport,
                                                           &IpmiSensor::getEventMessageSupport};
constexpr unsigned short (IpmiSensor::*kWords[])() const = {&IpmiSensor::getSensorRecordNumber, &IpmiSensor::getFlags,
                                                            &IpmiSensor::getAssertionEventMask,
                                                            &IpmiSensor::getDeassertionEventMask};
constexpr bool (IpmiSensor::*kFlags[])() const = {&IpmiSensor::isDiscrete,      &IpmiSensor::isLinear,
                                                  &IpmiSensor::isAnalog,        &IpmiSensor::isConvertible,
                                                  &IpmiSensor::hasReadingTime,  &IpmiSensor::readingStateUnavailable,
                                                  &IpmiSensor::scanningDisabled};
constexpr std::string (IpmiSensor::*kTexts[])() const = {&IpmiSensor::getDeviceId,
                                                         &IpmiSensor::getDescription,
                                                         &IpmiSensor::getEventReadingTypeString,
                                                         &IpmiSensor::getSensorIdString,
                                                         &IpmiSensor::getName,
                                                         &IpmiSensor::getSensorTypeString,
                                                         &IpmiSensor::getSensorDirectionString,
                                                         &IpmiSensor::getBaseUnitString,
                                                         &IpmiSensor::getModifierUnitString,
                                                         &IpmiSensor::getUnitsString};
constexpr double (IpmiThresholdSensor::*kThresholds[])() const = {
    &IpmiThresholdSensor::getLowerThresholdNonCritical,    &IpmiThresholdSensor::getLowerThresholdCritical,
    &IpmiThresholdSensor::getLowerThresholdNonRecoverable, &IpmiThresholdSensor::getUpperThresholdNonCritical,
    &IpmiThresholdSensor::getUpperThresholdCritical,       &IpmiThresholdSensor::getUpperThresholdNonRecoverable};
constexpr unsigned char (IpmiThresholdSensor::*kThresholdMasks[])() const = {
    &IpmiThresholdSensor::getLowerThresholdReadingMask, &IpmiThresholdSensor::getUpperThresholdReadingMask,
    &IpmiThresholdSensor::getReadableMask, &IpmiThresholdSensor::getSettableMask};

template <typename Sensor, typename Members> void callAll(const Sensor& sensor, const Members& members)
{
    for (const auto member : members)
        static_cast<void>((sensor.*member)());
}

void useThresholds(const IpmiThresholdSensor& sensor)
{
    callAll(sensor, kThresholdMasks);
    for (const auto threshold : kThresholds) {
        try {
            static_cast<void>((sensor.*threshold)());
        } catch (const CmpiStatus&) { // not readable
        }
    }
}

void convert(const IpmiSensor& sensor)
{
    for (unsigned int raw = 0; raw < 0x100; raw += 0x11)
        static_cast<void>(sensor.convertToRawValue(sensor.convertRawValue(raw)));
}

/// What asks the BMC.
void ask(IpmiSensor& sensor)
{
    unsigned char id[3], first, second;
    unsigned short assertions, deassertions;
    int state;
    sensor.getManufacturerId(id, first);
    sensor.getHysteresis(first, second, true);
    sensor.getSensorState(state);
    sensor.getEventEnable(first, assertions, deassertions);
    sensor.setEventEnable(first, assertions, deassertions);
    sensor.rearmEvents(assertions, deassertions);
}

} // namespace

std::vector<std::string> useSensor(IpmiSensor& sensor)
{
    callAll(sensor, kBytes);
    callAll(sensor, kWords);
    callAll(sensor, kFlags);
    convert(sensor);
    ask(sensor);
    const IpmiEntity entity = sensor.getEntity();
    std::vector<std::string> texts{sensor.getState(true), entity.getName(), entity.getAlertClassName(),
                                   entity.getParent().getName()};
    static_cast<void>(sensor.getReadingAge());
    sensor.getReadingTime(texts.emplace_back());
    for (const auto text : kTexts)
        texts.push_back((sensor.*text)());
    if (const auto* threshold = dynamic_cast<const IpmiThresholdSensor*>(&sensor))
        useThresholds(*threshold);
    else if (const auto* discrete = dynamic_cast<const IpmiDiscreteSensor*>(&sensor))
        static_cast<void>(discrete->getReadingMask());
    return texts;
}

std::vector<std::string> useIdentity(int node)
{
    constexpr std::string (*kGetters[])(int) = {IpmiIfc::getManufacturerName, IpmiIfc::getFirmwareVersion,
                                                IpmiIfc::getIpmiVersion,      IpmiIfc::getHostOsName,
                                                IpmiIfc::getHostOsVersion,    IpmiIfc::getSelfTestText};
    unsigned char byte, maker[3];
    unsigned short word;
    IpmiIfc::getManufacturerId(node, maker, byte);
    IpmiIfc::getProductId(node, word);
    IpmiIfc::getDeviceId(node, byte);
    IpmiIfc::getDeviceRevision(node, byte);
    IpmiIfc::getSelfTest(node, word);
    std::vector<std::string> texts;
    for (const auto getter : kGetters)
        texts.push_back(getter(node));
    return texts;
}

} // namespace Support
