// SPDX-License-Identifier: Apache-2.0
// Readings and thresholds of sensors, asked of the controllers that own them.
#include "base/Log.h"
#include "sdr/IpmiIfcSensor.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorCommands.h"
#include "wire/AnswerLayout.h"

#include <algorithm>
#include <iterator>

namespace Ipmi
{

namespace
{

/// Fills `bytes` from an answer; what the BMC did not send is 0.
void takeBytes(const Answer& answer, std::span<std::uint8_t> bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = answer.at(i);
}

void cacheHysteresis(IpmiSensor& sensor)
{
    if (!SensorAccess::hasReadableHysteresis(sensor))
        return;
    unsigned char positive = 0, negative = 0;
    const int result = sensor.getHysteresis(positive, negative, true);
    if (result == 0)
        return;
    constexpr const char* kName = "IpmiIfcSensorGetThresholds";
    TRX::log(LOG_ERR, "%s: getHysteresis(%u, %u, true) returned cc = %u", kName, positive, negative, result & 0xff);
    TRX::log(LOG_DEBUG, "%s: failed to cache hysteresis.", kName);
}

} // namespace

int readSensor(const SensorAddress& address, Answer& answer)
{
    if (address.isSoftware())
        return Answer::kNone;
    answer = askSensor(address, wire::kGetReading);
    const int code = answer.code();
    if (code == Answer::kNone)
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: failed send to get reading.");
    else if (code != wire::cc::kOk && code != wire::cc::kNotPresent && code != wire::cc::kIllegalCommand)
        TRX::log(LOG_WARNING, "IpmiIfcSensorGetReading: Sensor Number 0x%x, failed send cc = 0x%x", address.number,
                 static_cast<unsigned int>(code));
    return code;
}

void readThresholds(const SensorAddress& address, IpmiSensor& sensor)
{
    if (address.isSoftware())
        return;
    const Answer answer = askSensor(address, wire::kGetThresholds);
    if (!answer.good(wire::thresholds::kReadable + 1)) {
        TRX::log(LOG_WARNING, "%s: Sensor Number = 0x%x, failed send cc = 0x%x", "IpmiIfcSensorGetThresholds",
                 address.number, answer.codeOrNoAnswer());
        return;
    }
    std::uint8_t thresholds[wire::thresholds::kSize];
    takeBytes(answer, thresholds);
    sensor.setThresholdReading(thresholds);
    cacheHysteresis(sensor);
}

int IpmiIfcSensorGetReading(int node, ipmiifc_sensor_reading_list* entry)
{
    if (!entry || !entry->sdr) {
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: sreading->sdr not valid");
        return -2;
    }
    Answer answer;
    const int result = readSensor(SensorAddress::of(node, *entry->sdr), answer);
    if (result != 0)
        return result;
    takeBytes(answer, entry->answer);
    entry->length = static_cast<std::uint8_t>(std::min(answer.bytes().size(), std::size(entry->answer)));
    return 0;
}

void IpmiIfcSensorGetThresholds(int node, ipmiifc_sdr_list* sdr, TRX::Reference<IpmiSensor> sensor)
{
    if (sdr && sensor)
        readThresholds(SensorAddress::of(node, *sdr), *sensor);
}

} // namespace Ipmi
