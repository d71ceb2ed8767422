// SPDX-License-Identifier: Apache-2.0
// Calling it all.
#include "support/CallerUse.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"

namespace Support
{

using namespace Ipmi;

namespace
{

using S = IpmiSensor;
using T = IpmiThresholdSensor;

using Texts = std::vector<std::string>;

/// Calls each of these members. @return what is text of it
template <typename Sensor, typename... Members> Texts callAll(const Sensor& sensor, Members... members)
{
    Texts texts;
    const auto note = [&texts](const auto& value) {
        if constexpr (std::is_convertible_v<decltype(value), std::string>)
            texts.push_back(value);
    };
    (note((sensor.*members)()), ...);
    return texts;
}

Texts useProperties(const S& sensor)
{
    return callAll(sensor, &S::getSensorNumber, &S::getOwnerId, &S::getLun, &S::getChannel, &S::getSensorType,
                   &S::getEventReadingType, &S::getRateUnit, &S::getModifierUnitUse, &S::getBaseUnit,
                   &S::getModifierUnit, &S::getSensorDirection, &S::getHysteresisSupport, &S::getThresholdAccessSupport,
                   &S::getEventMessageSupport, &S::getSensorRecordNumber, &S::getFlags, &S::getAssertionEventMask,
                   &S::getDeassertionEventMask, &S::isDiscrete, &S::isLinear, &S::isAnalog, &S::isConvertible,
                   &S::hasReadingTime, &S::readingStateUnavailable, &S::scanningDisabled, &S::getReadingAge,
                   &S::getDeviceId, &S::getDescription, &S::getEventReadingTypeString, &S::getSensorIdString,
                   &S::getName, &S::getSensorTypeString, &S::getSensorDirectionString, &S::getBaseUnitString,
                   &S::getModifierUnitString, &S::getUnitsString);
}

void useThresholds(const T& sensor)
{
    callAll(sensor, &T::getLowerThresholdReadingMask, &T::getUpperThresholdReadingMask, &T::getReadableMask,
            &T::getSettableMask);
    for (const auto threshold :
         {&T::getLowerThresholdNonCritical, &T::getLowerThresholdCritical, &T::getLowerThresholdNonRecoverable,
          &T::getUpperThresholdNonCritical, &T::getUpperThresholdCritical, &T::getUpperThresholdNonRecoverable})
        try {
            (sensor.*threshold)();
        } catch (const CmpiStatus&) { // not readable
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
    Texts texts = useProperties(sensor);
    convert(sensor);
    ask(sensor);
    const IpmiEntity entity = sensor.getEntity();
    texts.insert(texts.end(),
                 {sensor.getState(true), entity.getName(), entity.getAlertClassName(), entity.getParent().getName()});
    sensor.getReadingTime(texts.emplace_back());
    if (const auto* threshold = dynamic_cast<const IpmiThresholdSensor*>(&sensor))
        useThresholds(*threshold);
    else if (const auto* discrete = dynamic_cast<const IpmiDiscreteSensor*>(&sensor))
        callAll(*discrete, &IpmiDiscreteSensor::getReadingMask);
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
    Texts texts;
    for (const auto getter : kGetters)
        texts.push_back(getter(node));
    return texts;
}

std::vector<std::string> useInventory(int node)
{
    Texts texts;
    IpmiIfcFruInstantiateAll(node);
    IpmiIfc::getFruDeviceHeader(node);
    for (const auto& fru : IpmiIfc::getFrus(node)) {
        texts.push_back(fru->getEntity().getName());
        callAll(*fru, &IpmiFru::getOwnerId, &IpmiFru::getLun, &IpmiFru::getChannel, &IpmiFru::getSlaveAddress,
                &IpmiFru::isLogical);
        for (auto& area : fru->getOptionalRefArray())
            texts.push_back(IpmiIfc::getFruPart(area).name);
    }
    for (const IpmiFruDevice& device : IpmiIfc::getFruDevices(node)) {
        texts.push_back(device.name);
        for (const IpmiFruArea& area : IpmiIfc::readFru(node, device).areas)
            for (const IpmiFruField& field : area.contents->fields())
                texts.insert(texts.end(), {field.name, field.value, field.unit});
        IpmiIfc::readFruImage(node, device);
    }
    return texts;
}

} // namespace Support
