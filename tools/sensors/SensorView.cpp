// SPDX-License-Identifier: Apache-2.0
// Takes what a sensor has to show, and formats its numbers.
#include "sensors/SensorView.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiThresholdSensor.h"
#include "sensors/EventNames.h"
#include "wire/EventTypes.h"

#include <cmath>
#include <fmt/format.h>

namespace Tool
{

namespace
{

struct ThresholdGetter {
    unsigned bit; ///< in the masks of IPMI 2.0, Get Sensor Thresholds
    double (Ipmi::IpmiThresholdSensor::*get)() const;
};

constexpr std::array<ThresholdGetter, 6> kGetters{{
    {2, &Ipmi::IpmiThresholdSensor::getLowerThresholdNonRecoverable},
    {1, &Ipmi::IpmiThresholdSensor::getLowerThresholdCritical},
    {0, &Ipmi::IpmiThresholdSensor::getLowerThresholdNonCritical},
    {3, &Ipmi::IpmiThresholdSensor::getUpperThresholdNonCritical},
    {4, &Ipmi::IpmiThresholdSensor::getUpperThresholdCritical},
    {5, &Ipmi::IpmiThresholdSensor::getUpperThresholdNonRecoverable},
}};

/// Only sensors that compare an analog value with thresholds give a number; the analog format of a discrete sensor's
/// record says nothing on many machines.
bool givesNumber(const Ipmi::IpmiSensor& sensor)
{
    return !sensor.isDiscrete() && sensor.isConvertible();
}

/// Between the value of `raw` and a neighbour that differs from it; 1 where that is no number.
double stepAt(const Ipmi::IpmiSensor& sensor, std::uint8_t raw)
{
    const unsigned neighbour = raw == 0xff || raw == 0x7f ? raw - 1U : raw + 1U;
    const double step = std::fabs(sensor.convertRawValue(neighbour) - sensor.convertRawValue(raw));
    return std::isfinite(step) && step > 0 ? step : 1;
}

std::string unitOf(const Ipmi::IpmiSensor& sensor)
{
    std::string unit = sensor.getUnitsString();
    unit.erase(unit.find_last_not_of(' ') + 1);
    return unit == "unspecified" ? "" : unit;
}

void readThresholds(Ipmi::IpmiSensor& sensor, std::array<std::optional<double>, 6>& values)
{
    const auto* self = dynamic_cast<const Ipmi::IpmiThresholdSensor*>(&sensor);
    if (!self)
        return;
    const auto last = sensor.getLastThresholds();
    const unsigned readable = last.cc == 0 ? self->getReadableMask() & last.readable : 0U;
    for (std::size_t i = 0; i < kGetters.size(); ++i) {
        if ((readable >> kGetters[i].bit & 1) == 0)
            continue;
        try {
            values[i] = (self->*kGetters[i].get)();
        } catch (const Ipmi::CmpiStatus&) { // the record offers none
        }
    }
}

Json jsonThresholds(const SensorView& sensor)
{
    Json result = Json::object();
    for (std::size_t i = 0; i < kThresholdKeys.size(); ++i) {
        if (sensor.thresholds[i])
            result[std::string(kThresholdKeys[i])] = jsonNumber(*sensor.thresholds[i]);
    }
    return result;
}

} // namespace

SensorView::SensorView(Ipmi::IpmiSensor& sensor)
    : name(sensor.getName()), number(sensor.getSensorNumber()), owner(sensor.getOwnerId()), lun(sensor.getLun()),
      recordId(sensor.getSensorRecordNumber()), type(sensor.getSensorTypeString()), typeCode(sensor.getSensorType()),
      entity(sensor.getEntity()), isNumeric(givesNumber(sensor))
{
    if (const auto milliseconds = sensor.getReadingAge(); milliseconds >= 0)
        age = std::chrono::milliseconds(milliseconds);
    const auto reading = sensor.getLastReading();
    if (reading.available())
        raw = reading.raw;
    state = stateOf(sensor);
    if (!isNumeric)
        return;
    unit = unitOf(sensor);
    step = stepAt(sensor, reading.raw);
    if (raw)
        value = sensor.convertRawValue(*raw);
    readThresholds(sensor, thresholds);
}

std::string SensorView::formatted(double shown) const
{
    constexpr int kUsualDigits = 3, kMostDigits = 9;
    constexpr double kLargest = 1e12;
    if (!std::isfinite(shown))
        return "";
    if (std::fabs(shown) >= kLargest)
        return fmt::format("{:.6g}", shown);
    const auto isExact = [&](double number, int digits) {
        const double scaled = number * std::pow(10.0, digits);
        return std::fabs(scaled - std::round(scaled)) < 1e-6 * std::pow(10.0, digits) * step;
    };
    int digits = 0;
    while (digits < kUsualDigits && !(isExact(step, digits) && isExact(shown, digits)))
        ++digits;
    while (digits < kMostDigits && std::pow(10.0, -digits) > step)
        ++digits;
    const std::string text = fmt::format("{:.{}f}", shown, digits);
    return text.find_first_not_of("-0.") == std::string::npos && text[0] == '-' ? text.substr(1) : text;
}

std::string SensorView::withUnit(double shown) const
{
    const std::string digits = formatted(shown);
    return digits.empty() || unit.empty() ? digits : digits + ' ' + unit;
}

std::string stateOf(Ipmi::IpmiSensor& sensor)
{
    return sensor.getLastReading().available() ? sensor.getState(false) : "";
}

std::vector<std::string> assertedStates(const Ipmi::IpmiSensor& sensor)
{
    const auto reading = sensor.getLastReading();
    if (!sensor.isDiscrete() || !reading.available())
        return {};
    return eventNames(sensor.getEventReadingType(), sensor.getSensorType(),
                      Ipmi::le16(reading.state1, reading.state2) & Ipmi::wire::kOffsetBits);
}

std::vector<SensorView> viewsOf(const Sensors& sensors)
{
    std::vector<SensorView> views;
    for (const auto& sensor : sensors)
        views.emplace_back(*sensor);
    return views;
}

Json jsonOf(const Ipmi::IpmiEntity& entity)
{
    return {{"id", entity.getId()}, {"instance", entity.getInstance()}, {"name", entity.getName()}};
}

Json jsonOf(const SensorView& sensor)
{
    return {{"name", sensor.name},
            {"number", sensor.number},
            {"owner", sensor.owner},
            {"lun", sensor.lun},
            {"record_id", sensor.recordId},
            {"type", sensor.type},
            {"value", sensor.value ? jsonNumber(*sensor.value) : Json(nullptr)},
            {"unit", sensor.unit},
            {"raw", sensor.raw ? Json(*sensor.raw) : Json(nullptr)},
            {"state", jsonText(sensor.state)},
            {"thresholds", jsonThresholds(sensor)},
            {"type_code", sensor.typeCode},
            {"entity", jsonOf(sensor.entity)},
            {"age_ms", sensor.age ? Json(sensor.age->count()) : Json(nullptr)}};
}

} // namespace Tool
