// SPDX-License-Identifier: Apache-2.0
// What a sensor's record says, byte by byte (IPMI 2.0, tables 43-1, 43-2 and 43-3). Bytes beyond the record are 0.
#include "ipmi/IpmiSensor.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

namespace Ipmi
{

namespace sdr = wire::sdr;

namespace
{

unsigned char bitsAt(const IpmiSdrRecord& record, unsigned int index, unsigned int top, unsigned int bottom)
{
    return static_cast<unsigned char>(wire::bits(record.at(index), top, bottom));
}

constexpr unsigned int kNoAnalogReading = 3;

/// Where each bit of getFlags() comes from. Init thresholds and the settable-sensor bit are not reported: this is
/// meant.
struct FlagSource {
    unsigned int index, bit;
    unsigned short flag;
};
constexpr FlagSource kFlagSources[] = {
    {sdr::kInitialization, 6, IpmiSensor::kFlagInitScanning},
    {sdr::kInitialization, 5, IpmiSensor::kFlagInitEvents},
    {sdr::kInitialization, 3, IpmiSensor::kFlagInitHysteresis},
    {sdr::kInitialization, 2, IpmiSensor::kFlagInitType},
    {sdr::kInitialization, 0, IpmiSensor::kFlagScanningEnabled},
    {sdr::kInitialization, 1, IpmiSensor::kFlagEventsEnabled},
    {sdr::kCapabilities, 7, IpmiSensor::kFlagIgnore},
    {sdr::kCapabilities, 6, IpmiSensor::kFlagAutoRearm},
    {sdr::kUnits, 0, IpmiSensor::kFlagPercentage},
};

} // namespace

bool IpmiSensor::isFullOrCompact() const
{
    const unsigned int type = record_.at(sdr::kType);
    return type == sdr::kFullType || type == sdr::kCompactType;
}

std::uint16_t IpmiSensor::mask(unsigned int index) const
{
    return isFullOrCompact() ? record_.le16(index) : std::uint16_t{0};
}

unsigned char IpmiSensor::getOwnerId() const
{
    return record_.at(sdr::kOwner);
}

unsigned char IpmiSensor::getLun() const
{
    return bitsAt(record_, sdr::kLun, 1, 0);
}

unsigned char IpmiSensor::getChannel() const
{
    return bitsAt(record_, sdr::kLun, 7, 4);
}

unsigned char IpmiSensor::getSensorType() const
{
    if (isFullOrCompact())
        return record_.at(sdr::kSensorType);
    return record_.at(sdr::kType) == sdr::kEventOnlyType ? record_.at(sdr::event_only::kSensorType) : std::uint8_t{0};
}

unsigned char IpmiSensor::getEventReadingType() const
{
    if (isFullOrCompact())
        return record_.at(sdr::kEventType);
    return record_.at(sdr::kType) == sdr::kEventOnlyType ? record_.at(sdr::event_only::kEventType) : std::uint8_t{0};
}

unsigned char IpmiSensor::getRateUnit() const
{
    return isFullOrCompact() ? bitsAt(record_, sdr::kUnits, 5, 3) : std::uint8_t{0};
}

unsigned char IpmiSensor::getModifierUnitUse() const
{
    return isFullOrCompact() ? bitsAt(record_, sdr::kUnits, 2, 1) : std::uint8_t{0};
}

unsigned char IpmiSensor::getBaseUnit() const
{
    return isFullOrCompact() ? record_.at(sdr::kBaseUnit) : std::uint8_t{0};
}

unsigned char IpmiSensor::getModifierUnit() const
{
    return isFullOrCompact() ? record_.at(sdr::kModifierUnit) : std::uint8_t{0};
}

unsigned char IpmiSensor::getSensorDirection() const
{
    switch (record_.at(sdr::kType)) {
    case sdr::kCompactType:
        return bitsAt(record_, sdr::compact::kSharing, 7, 6);
    case sdr::kEventOnlyType:
        return bitsAt(record_, sdr::event_only::kSharing, 7, 6);
    default:
        return 0; // full records too, although they have a direction: this is meant
    }
}

unsigned char IpmiSensor::getHysteresisSupport() const
{
    return isFullOrCompact() ? bitsAt(record_, sdr::kCapabilities, 5, 4) : std::uint8_t{0};
}

unsigned char IpmiSensor::getThresholdAccessSupport() const
{
    return isFullOrCompact() ? bitsAt(record_, sdr::kCapabilities, 3, 2) : std::uint8_t{0};
}

unsigned char IpmiSensor::getEventMessageSupport() const
{
    return isFullOrCompact() ? bitsAt(record_, sdr::kCapabilities, 1, 0) : std::uint8_t{0xff};
}

unsigned short IpmiSensor::getFlags() const
{
    unsigned int flags = 0;
    if (isFullOrCompact()) {
        for (const FlagSource& source : kFlagSources)
            flags |= wire::bits(record_.at(source.index), source.bit, source.bit) * source.flag;
    }
    return static_cast<unsigned short>(flags);
}

bool IpmiSensor::isLinear() const
{
    return record_.at(sdr::kType) != sdr::kFullType; // full records never, whatever their linearisation: this is meant
}

bool IpmiSensor::isAnalog() const
{
    return bitsAt(record_, sdr::kUnits, 7, 6) != kNoAnalogReading; // of any record: this is meant
}

bool IpmiSensor::isConvertible() const
{
    return record_.at(sdr::kType) == sdr::kFullType && isAnalog();
}

IpmiEntity IpmiSensor::getEntity() const
{
    return IpmiEntity(record_.at(sdr::kEntityId), bitsAt(record_, sdr::kEntityInstance, 6, 0), node_);
}

void IpmiSensor::RawRecord(const unsigned char*& bytes, int& length) const
{
    bytes = record_.bytes;
    length = static_cast<int>(record_.length);
}

} // namespace Ipmi
