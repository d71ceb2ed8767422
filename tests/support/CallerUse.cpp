#include "support/CallerUse.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"

namespace Support
{

using namespace Ipmi;

namespace
{

using S = IpmiSensor;
using T = IpmiThresholdSensor;

template <typename Sensor, typename... Members> void callAll(const Sensor& sensor, Members... members)
{
    (static_cast<void>((sensor.*members)()), ...);
}

void useNumbers(const S& sensor)
{
    callAll(sensor, &S::getSensorNumber, &S::getOwnerId, &S::getLun, &S::getChannel, &S::getSensorType,
            &S::getEventReadingType, &S::getRateUnit, &S::getModifierUnitUse, &S::getBaseUnit, &S::getModifierUnit,
            &S::getSensorDirection, &S::getHysteresisSupport, &S::getThresholdAccessSupport, &S::getEventMessageSupport,
            &S::getSensorRecordNumber, &S::getFlags, &S::getAssertionEventMask, &S::getDeassertionEventMask,
            &S::isDiscrete, &S::isLinear, &S::isAnalog, &S::isConvertible, &S::hasReadingTime,
            &S::readingStateUnavailable, &S::scanningDisabled, &S::getReadingAge);
}

std::vector<std::string> textsOf(const S& sensor)
{
    return {sensor.getDeviceId(),
            sensor.getDescription(),
            sensor.getEventReadingTypeString(),
            sensor.getSensorIdString(),
            sensor.getName(),
            sensor.getSensorTypeString(),
            sensor.getSensorDirectionString(),
            sensor.getBaseUnitString(),
            sensor.getModifierUnitString(),
            sensor.getUnitsString()};
}

void useThresholds(const T& sensor)
{
    callAll(sensor, &T::getLowerThresholdReadingMask, &T::getUpperThresholdReadingMask, &T::getReadableMask,
            &T::getSettableMask);
    for (const auto threshold :
         {&T::getLowerThresholdNonCritical, &T::getLowerThresholdCritical, &T::getLowerThresholdNonRecoverable,
          &T::getUpperThresholdNonCritical, &T::getUpperThresholdCritical, &T::getUpperThresholdNonRecoverable}) {
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
    useNumbers(sensor);
    convert(sensor);
    ask(sensor);
    std::vector<std::string> texts = textsOf(sensor);
    const IpmiEntity entity = sensor.getEntity();
    texts.insert(texts.end(),
                 {sensor.getState(true), entity.getName(), entity.getAlertClassName(), entity.getParent().getName()});
    sensor.getReadingTime(texts.emplace_back());
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
