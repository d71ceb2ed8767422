#include "ipmi/IpmiSelData.h"

#include "ipmi/IpmiIfc.h"
#include "node/IpmiIfcTransport.h"
#include "sel/EventTexts.h"
#include "sel/SelCommands.h"
#include "sel/SelRecordLayout.h"
#include "sel/SelTime.h"

#include <cstdio>
#include <span>
#include <type_traits>

namespace Ipmi
{

using namespace sel_record;

static_assert(sizeof(IpmiSelData) == kSize + sizeof(int) && !std::is_polymorphic_v<IpmiSelData>,
              "a node keeps one for every record of its log");

namespace
{

unsigned int u8(const sel_event_record& record, std::size_t at)
{
    return record.bytes[at];
}

unsigned short le16(const sel_event_record& record, std::size_t at)
{
    return static_cast<unsigned short>(u8(record, at) | u8(record, at + 1) << 8);
}

bool isDeassertion(const sel_event_record& record)
{
    return (u8(record, kDirectionAndType) & kDeassertion) != 0;
}

unsigned int offsetOf(const sel_event_record& record)
{
    return u8(record, kData1) & kOffsetMask;
}

/// What an event common to many types of sensors says of one type.
std::string genericEvent(unsigned int sensorType, unsigned int eventType, unsigned int offset)
{
    std::string text;
    if (const EventText* sensor = findCode(kSensorEventTexts, sensorType))
        text = std::string(sensor->name) + ' ';
    if (const EventText* event = findEvent(kGenericEventTexts, eventType, offset))
        text += event->text;
    return text;
}

/// What an event of the sensor type's own says.
std::string sensorEvent(unsigned int sensorType, unsigned int offset)
{
    const EventText* event = findEvent(kSensorEventTexts, sensorType, offset);
    if (!event)
        return {};
    return event->text ? std::string(event->name) + ' ' + event->text : event->name;
}

/// Answer of Delete SEL Entry.
struct Answer {
    static constexpr unsigned short kId = 1, kSize = 3;

    unsigned char bytes[4] = {};
    unsigned short length = sizeof bytes;
};

/// @return as IpmiSelData::reserve
int deleteEntry(int node, std::span<unsigned char> request, Answer& answer)
{
    switch (IpmiIfc::sendCmd(node, kDeleteSelEntry, kStorage, static_cast<unsigned short>(request.size()),
                             request.data(), &answer.length, answer.bytes)) {
    case 0:
        return 0;
    case kCcInvalidCommand:
    case kCcIllegalCommand:
        return 1;
    case kNoAnswer:
        return 4;
    default:
        return 5;
    }
}

} // namespace

IpmiSelData::IpmiSelData(const sel_event_record* record, int node)
    : record_(record ? *record : sel_event_record{}), node_(node)
{
}

unsigned short IpmiSelData::recordId() const
{
    return le16(record_, kId);
}

unsigned char IpmiSelData::recordType() const
{
    return record_.bytes[kType];
}

bool IpmiSelData::isSelEventRecord() const
{
    return recordType() == kUnspecifiedType || recordType() == kSystemEventType;
}

unsigned char IpmiSelData::getSensorNumber() const
{
    return isSelEventRecord() ? record_.bytes[kSensorNumber] : std::uint8_t{0};
}

unsigned short IpmiSelData::getGeneratorId() const
{
    return isSelEventRecord() ? le16(record_, kGenerator) : std::uint16_t{0};
}

unsigned int IpmiSelData::messageTimeStamp() const
{
    const bool timestampedOem = recordType() >= kFirstTimestampedOemType && recordType() <= kLastTimestampedOemType;
    if (!isSelEventRecord() && !timestampedOem)
        return kNoSelTime;
    return le16(record_, kTimestamp) | static_cast<unsigned int>(le16(record_, kTimestamp + 2)) << 16;
}

CmpiDateTime IpmiSelData::getCmpiDateTime() const
{
    return dateTimeOfSel(messageTimeStamp());
}

int IpmiSelData::eventType() const
{
    return isSelEventRecord() ? record_.bytes[kDirectionAndType] & kEventTypeMask : -1;
}

unsigned int IpmiSelData::severity() const
{
    // Going low and going high of three lower thresholds, then of three upper ones.
    constexpr unsigned int kDirections = 2, kLevels = 3, kOffsets = 2 * kLevels * kDirections, kMinor = 5;
    const unsigned int offset = offsetOf(record_);
    if (eventType() != kThreshold || offset >= kOffsets)
        return 0;
    return kMinor + offset / kDirections % kLevels;
}

unsigned int IpmiSelData::alertType() const
{
    constexpr unsigned int kNone = 0, kDevice = 5, kEnvironmental = 6, kSecurity = 8;
    constexpr unsigned int kTemperature = 0x01, kPhysicalSecurity = 0x05, kPlatformSecurity = 0x06;
    if (!isSelEventRecord() || eventType() > kSensorSpecific)
        return kNone;
    switch (u8(record_, kSensorType)) {
    case kTemperature:
        return kEnvironmental;
    case kPhysicalSecurity:
    case kPlatformSecurity:
        return kSecurity;
    default:
        return kDevice;
    }
}

std::string IpmiSelData::caption() const
{
    constexpr unsigned int kOldestRevision = 4;
    if (!isSelEventRecord() || u8(record_, kEvmRevision) < kOldestRevision)
        return {};
    const std::string direction = isDeassertion(record_) ? "Deassert + " : "Assert + ";
    const int type = eventType();
    const unsigned int sensorType = u8(record_, kSensorType), offset = offsetOf(record_);
    if (type >= kThreshold && type <= kLastGeneric)
        return direction + genericEvent(sensorType, static_cast<unsigned int>(type), offset);
    if (type == kSensorSpecific)
        return direction + sensorEvent(sensorType, offset);
    return {};
}

std::string IpmiSelData::description() const
{
    return {};
}

std::string IpmiSelData::messageFormat() const
{
    if (!isSelEventRecord())
        return {};
    return "*string CIM_Sensor.DeviceID*uint8[2] IPMI_RecordID*uint8 IPMI_RecordType*uint8[4] IPMI_Timestamp"
           "*uint8[2] IPMI_GeneratorID*uint8 IPMI_EvMRev*uint8 IPMI_SensorType*uint8 IPMI_SensorNumber"
           "*boolean IPMI_AssertionEvent*uint8 IPMI_EventType*uint8 IPMI_EventData1*uint8 IPMI_EventData2"
           "*uint8 IPMI_EventData3*uint32 IANA*";
}

std::string IpmiSelData::recordDataString() const
{
    const auto at = [this](std::size_t position) { return u8(record_, position); };
    // The event direction goes out as it stands, though the format calls it an assertion: this is meant.
    const char* direction = isDeassertion(record_) ? "true" : "false";
    char text[160]; // 24 numbers of at most three digits
    std::snprintf(text, sizeof text, "*%u*%u.%u.%u*%u %u*%u*%u %u %u %u*%u %u*%u*%u*%u*%u*%s*%u*%u*%u*%u*1*",
                  +getSensorNumber(), at(kSensorNumber), at(kGenerator + 1), at(kGenerator), at(kId), at(kId + 1),
                  at(kType), at(kTimestamp), at(kTimestamp + 1), at(kTimestamp + 2), at(kTimestamp + 3), at(kGenerator),
                  at(kGenerator + 1), at(kEvmRevision), at(kSensorType), at(kSensorNumber), +getSensorNumber(),
                  direction, at(kDirectionAndType) & kEventTypeMask, at(kData1), at(kData2), at(kData3));
    return text;
}

std::string IpmiSelData::recordId(int number)
{
    char text[sizeof "-2147483648"];
    std::snprintf(text, sizeof text, "%04d", number);
    return number == 0 ? "Invalid" : text;
}

int IpmiSelData::reserve(unsigned short& id) const
{
    Answer answer;
    if (const int result = deleteEntry(node_, {}, answer); result != 0)
        return result;
    if (answer.length < Answer::kSize)
        return 4;
    id = static_cast<unsigned short>(answer.bytes[Answer::kId] | answer.bytes[Answer::kId + 1] << 8);
    return 0;
}

int IpmiSelData::clear() const
{
    unsigned short reservation = 0;
    if (const int result = reserve(reservation); result != 0)
        return result;
    unsigned char request[] = {static_cast<unsigned char>(reservation), static_cast<unsigned char>(reservation >> 8),
                               record_.bytes[kId], record_.bytes[kId + 1]};
    Answer answer;
    return deleteEntry(node_, request, answer);
}

} // namespace Ipmi
