// SPDX-License-Identifier: Apache-2.0
// What the 16 bytes of a record mean.
#include "ipmi/IpmiSelData.h"

#include "ipmi/IpmiIfc.h"
#include "sel/EventTexts.h"
#include "sel/SelTime.h"
#include "transport/Answer.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"
#include "wire/EventTypes.h"
#include "wire/SelLayout.h"

#include <cstdio>
#include <span>
#include <type_traits>

namespace Ipmi
{

namespace sel = wire::sel;
namespace event_type = wire::event_type;

static_assert(sizeof(IpmiSelData) == sel::kSize + sizeof(int) && !std::is_polymorphic_v<IpmiSelData>,
              "a node keeps one for every record of its log");

namespace
{

constexpr int kNotSupported = 1;

unsigned int u8(const sel_event_record& record, std::size_t at)
{
    return record.bytes[at];
}

bool isDeassertion(const sel_event_record& record)
{
    return (u8(record, sel::kDirectionAndType) & sel::kDeassertion) != 0;
}

unsigned int offsetOf(const sel_event_record& record)
{
    return u8(record, sel::kData1) & sel::kOffsetMask;
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

/// Delete SEL Entry with this request. @return as IpmiSelData::reserve
int deleteEntry(int node, std::span<const std::uint8_t> request, Answer& answer)
{
    answer = ask(node, wire::kDeleteSelEntry, request);
    switch (answer.bytes().empty() ? Answer::kNone : answer.code()) {
    case wire::cc::kOk:
        return IpmiIfc::IPMI_RESULT_OK;
    case wire::cc::kInvalidCommand:
    case wire::cc::kIllegalCommand:
        return kNotSupported;
    case Answer::kNone:
    case wire::cc::kUnspecified:
        return IpmiIfc::IPMI_RESULT_NO_RESPONSE;
    default:
        return IpmiIfc::IPMI_RESULT_REFUSED;
    }
}

} // namespace

IpmiSelData::IpmiSelData(const sel_event_record* record, int node)
    : record_(record ? *record : sel_event_record{}), node_(node)
{
}

unsigned short IpmiSelData::recordId() const
{
    return le16(record_.bytes + sel::kId);
}

unsigned char IpmiSelData::recordType() const
{
    return record_.bytes[sel::kType];
}

bool IpmiSelData::isSelEventRecord() const
{
    return recordType() == sel::kUnspecifiedType || recordType() == sel::kSystemEventType;
}

unsigned char IpmiSelData::getSensorNumber() const
{
    return isSelEventRecord() ? record_.bytes[sel::kSensorNumber] : std::uint8_t{0};
}

unsigned short IpmiSelData::getGeneratorId() const
{
    return isSelEventRecord() ? le16(record_.bytes + sel::kGenerator) : std::uint16_t{0};
}

unsigned int IpmiSelData::messageTimeStamp() const
{
    const bool timestampedOem =
        recordType() >= sel::kFirstTimestampedOemType && recordType() <= sel::kLastTimestampedOemType;
    if (!isSelEventRecord() && !timestampedOem)
        return kNoSelTime;
    return le32(record_.bytes + sel::kTimestamp);
}

CmpiDateTime IpmiSelData::getCmpiDateTime() const
{
    return dateTimeOfSel(messageTimeStamp());
}

int IpmiSelData::eventType() const
{
    return isSelEventRecord() ? record_.bytes[sel::kDirectionAndType] & sel::kEventTypeMask : -1;
}

unsigned int IpmiSelData::severity() const
{
    // Going low and going high of three lower thresholds, then of three upper ones.
    constexpr unsigned int kDirections = 2, kLevels = 3, kOffsets = 2 * kLevels * kDirections, kMinor = 5;
    const unsigned int offset = offsetOf(record_);
    if (eventType() != event_type::kThreshold || offset >= kOffsets)
        return 0;
    return kMinor + offset / kDirections % kLevels;
}

unsigned int IpmiSelData::alertType() const
{
    constexpr unsigned int kNone = 0, kDevice = 5, kEnvironmental = 6, kSecurity = 8;
    constexpr unsigned int kTemperature = 0x01, kPhysicalSecurity = 0x05, kPlatformSecurity = 0x06;
    if (!isSelEventRecord() || eventType() > event_type::kSensorSpecific)
        return kNone;
    switch (u8(record_, sel::kSensorType)) {
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
    if (!isSelEventRecord() || u8(record_, sel::kEvmRevision) < kOldestRevision)
        return {};
    const std::string direction = isDeassertion(record_) ? "Deassert + " : "Assert + ";
    const int type = eventType();
    const unsigned int sensorType = u8(record_, sel::kSensorType), offset = offsetOf(record_);
    if (type >= event_type::kThreshold && type <= event_type::kLastGeneric)
        return direction + genericEvent(sensorType, static_cast<unsigned int>(type), offset);
    if (type == event_type::kSensorSpecific)
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
                  +getSensorNumber(), at(sel::kSensorNumber), at(sel::kGenerator + 1), at(sel::kGenerator),
                  at(sel::kId), at(sel::kId + 1), at(sel::kType), at(sel::kTimestamp), at(sel::kTimestamp + 1),
                  at(sel::kTimestamp + 2), at(sel::kTimestamp + 3), at(sel::kGenerator), at(sel::kGenerator + 1),
                  at(sel::kEvmRevision), at(sel::kSensorType), at(sel::kSensorNumber), +getSensorNumber(), direction,
                  at(sel::kDirectionAndType) & sel::kEventTypeMask, at(sel::kData1), at(sel::kData2), at(sel::kData3));
    return text;
}

std::string IpmiSelData::recordId(int number)
{
    char text[sizeof "-2147483648"];
    std::snprintf(text, sizeof text, "%04d", number);
    return number == 0 ? "Invalid" : text;
}

/// Sends Delete SEL Entry without a record, where Reserve SEL is expected: this is meant.
int IpmiSelData::reserve(unsigned short& id) const
{
    Answer answer;
    if (const int result = deleteEntry(node_, {}, answer); result != IpmiIfc::IPMI_RESULT_OK)
        return result;
    if (!answer.good(wire::reservation::kSize))
        return IpmiIfc::IPMI_RESULT_NO_RESPONSE;
    id = answer.le16(wire::reservation::kId);
    return IpmiIfc::IPMI_RESULT_OK;
}

int IpmiSelData::clear() const
{
    unsigned short reservation = 0;
    if (const int result = reserve(reservation); result != IpmiIfc::IPMI_RESULT_OK)
        return result;
    Answer answer;
    return deleteEntry(node_, wire::Writer().le16(reservation).le16(recordId()), answer);
}

} // namespace Ipmi
