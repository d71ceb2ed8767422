// Readings and thresholds of sensors, asked of the controllers that own them.
#include "base/Log.h"
#include "ipmi/IpmiIfc.h"
#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSensor.h"
#include "sdr/SdrLayout.h"
#include "sdr/SensorAccess.h"

#include <algorithm>
#include <iterator>

namespace Ipmi
{

namespace
{

constexpr std::uint8_t kSensorEvent = 0x04; ///< network function
constexpr std::uint8_t kGetSensorThresholds = 0x27, kGetSensorReading = 0x2d;
constexpr std::uint8_t kCcTimeout = 0xc3, kCcNotPresent = 0xcb, kCcIllegalCommand = 0xcd;
constexpr std::uint8_t kThresholdType = 0x01; ///< event/reading type

/// System software owns the sensor: there is no controller to ask.
bool isSoftwareOwned(const ipmiifc_sdr_list& sdr)
{
    return (sdr.at(sdr_record::kOwner) & 0x01) != 0;
}

/// Sends a command with the sensor's number to the controller that owns the sensor.
Response askOwner(int node, const ipmiifc_sdr_list& sdr, std::uint8_t command)
{
    if (!isNode(node))
        return {};
    const std::uint8_t lun = sdr.at(sdr_record::kLun) & 0x03;
    const auto channel = static_cast<std::uint8_t>(sdr.at(sdr_record::kLun) >> 4);
    const std::uint8_t number = sdr.at(sdr_record::kNumber);
    const TargetScope owner(node, sdr.at(sdr_record::kOwner), lun, channel);
    return sendCommand(node, kSensorEvent, command, {&number, 1});
}

/// Fills `bytes` from a reply; what the BMC did not send is 0.
void takeBytes(const Response& reply, std::span<std::uint8_t> bytes)
{
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = reply.at(i);
}

void cacheHysteresis(IpmiSensor& sensor)
{
    constexpr unsigned char kReadable = 1, kReadableAndSettable = 2;
    const unsigned char support = sensor.getHysteresisSupport();
    if (support != kReadable && support != kReadableAndSettable)
        return;
    unsigned char positive = 0, negative = 0;
    const int result = sensor.getHysteresis(positive, negative, true);
    if (result == 0)
        return;
    constexpr const char* kName = "IpmiIfcSensorGetThresholds";
    TRX::log(LOG_ERR, "%s: getHysteresis(%u, %u, true) returned cc = %u", kName, positive, negative, result & 0xff);
    TRX::log(LOG_DEBUG, "%s: failed to cache hysteresis.", kName);
}

/// True for a sensor that is not worth another fetch before the next build.
bool hasGivenUp(const IpmiSensor& sensor)
{
    constexpr unsigned int kMostTimeouts = 2;
    const unsigned int result = sensor.getLastReadResult();
    return result == kCcNotPresent || result == kCcIllegalCommand ||
           (result == kCcTimeout && sensor.getReadResultRepeats() > kMostTimeouts);
}

/// Refreshes one sensor. @return false when it got no answer, which ends the refresh
bool refresh(int node, const TRX::Reference<IpmiSensor>& sensor)
{
    const unsigned char* bytes = nullptr;
    int length = 0;
    sensor->RawRecord(bytes, length);
    IpmiSdrRecord record(static_cast<unsigned int>(length), bytes);
    ipmiifc_sdr_list sdr;
    sdr.record_id = sensor->getSensorRecordNumber();
    sdr.record_type = record.at(sdr_record::kType);
    sdr.length = static_cast<std::uint8_t>(record.length); // at most 64
    sdr.data = record.bytes;

    if (sdr.record_type == sdr_record::kFullType || sdr.record_type == sdr_record::kCompactType) {
        if (hasGivenUp(*sensor)) {
            TRX::log(LOG_DEBUG, "Skipping reading update for previous failed sensor 0x%x", sensor->getSensorNumber());
            return true;
        }
        if (SensorAccess::fetchReading(*sensor, &sdr) == -1) {
            TRX::log(LOG_DEBUG, "IpmiIfcSensorUpdateReading: failed send to get reading.");
            return false;
        }
    }
    if (sensor->getEventReadingType() == kThresholdType)
        IpmiIfcSensorGetThresholds(node, &sdr, sensor);
    return true;
}

} // namespace

int IpmiIfcSensorGetReading(int node, ipmiifc_sensor_reading_list* entry)
{
    if (!entry || !entry->sdr) {
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: sreading->sdr not valid");
        return -2;
    }
    if (isSoftwareOwned(*entry->sdr))
        return -1;
    const Response reply = askOwner(node, *entry->sdr, kGetSensorReading);
    if (!reply) {
        TRX::log(LOG_DEBUG, "IpmiIfcSensorGetReading: failed send to get reading.");
        return -1;
    }
    if (reply->cc != 0) {
        if (reply->cc != kCcNotPresent && reply->cc != kCcIllegalCommand)
            TRX::log(LOG_WARNING, "IpmiIfcSensorGetReading: Sensor Number 0x%x, failed send cc = 0x%x",
                     entry->sdr->at(sdr_record::kNumber), reply->cc);
        return reply->cc;
    }
    takeBytes(reply, entry->answer);
    entry->length = static_cast<std::uint8_t>(std::min(reply.bytes().size(), std::size(entry->answer)));
    return 0;
}

void IpmiIfcSensorGetThresholds(int node, ipmiifc_sdr_list* sdr, TRX::Reference<IpmiSensor> sensor)
{
    if (!sdr || !sensor || isSoftwareOwned(*sdr))
        return;
    const Response reply = askOwner(node, *sdr, kGetSensorThresholds);
    constexpr std::size_t kShortest = 2; // completion code and the mask of readable thresholds
    if (!reply || reply->cc != 0 || reply.bytes().size() < kShortest) {
        TRX::log(LOG_WARNING, "%s: Sensor Number = 0x%x, failed send cc = 0x%x", "IpmiIfcSensorGetThresholds",
                 sdr->at(sdr_record::kNumber), reply ? reply->cc : kNoAnswer);
        return;
    }
    std::uint8_t thresholds[8];
    takeBytes(reply, thresholds);
    sensor->setThresholdReading(thresholds);
    cacheHysteresis(*sensor);
}

int IpmiIfcSensorUpdateReading(int node)
{
    TRX::log(LOG_DEBUG, "Entering IpmiIfcSensorUpdateReading");
    for (const auto& sensor : IpmiIfc::getSensors(node)) {
        if (!refresh(node, sensor))
            break;
    }
    return 0;
}

} // namespace Ipmi
