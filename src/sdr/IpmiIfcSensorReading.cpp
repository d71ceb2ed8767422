// Readings and thresholds of sensors, asked of the controllers that own them.
#include "base/Log.h"
#include "sdr/IpmiIfcSensor.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorCommands.h"

#include <algorithm>
#include <iterator>

namespace Ipmi
{

namespace
{

/// Fills `bytes` from a reply; what the BMC did not send is 0.
void takeBytes(const Response& reply, std::span<std::uint8_t> bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = reply.at(i);
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

int IpmiIfcSensorGetReading(int node, ipmiifc_sensor_reading_list* entry)
{
    if (!entry || !entry->sdr) {
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: sreading->sdr not valid");
        return -2;
    }
    const SensorAddress address = SensorAddress::of(node, *entry->sdr);
    if (address.isSoftware())
        return -1;
    const Response reply = askSensor(address, sensor_command::kGetReading);
    if (!reply) {
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: failed send to get reading.");
        return -1;
    }
    if (reply->cc != 0) {
        if (reply->cc != kCcNotPresent && reply->cc != kCcIllegalCommand)
            TRX::log(LOG_WARNING, "IpmiIfcSensorGetReading: Sensor Number 0x%x, failed send cc = 0x%x", address.number,
                     reply->cc);
        return reply->cc;
    }
    takeBytes(reply, entry->answer);
    entry->length = static_cast<std::uint8_t>(std::min(reply.bytes().size(), std::size(entry->answer)));
    return 0;
}

void IpmiIfcSensorGetThresholds(int node, ipmiifc_sdr_list* sdr, TRX::Reference<IpmiSensor> sensor)
{
    if (!sdr || !sensor)
        return;
    const SensorAddress address = SensorAddress::of(node, *sdr);
    if (address.isSoftware())
        return;
    const Response reply = askSensor(address, sensor_command::kGetThresholds);
    constexpr std::size_t kShortest = 2; // completion code and the mask of readable thresholds
    if (!reply || reply->cc != 0 || reply.bytes().size() < kShortest) {
        TRX::log(LOG_WARNING, "%s: Sensor Number = 0x%x, failed send cc = 0x%x", "IpmiIfcSensorGetThresholds",
                 address.number, reply ? reply->cc : kNoAnswer);
        return;
    }
    std::uint8_t thresholds[8];
    takeBytes(reply, thresholds);
    sensor->setThresholdReading(thresholds);
    cacheHysteresis(*sensor);
}

} // namespace Ipmi
