// SPDX-License-Identifier: Apache-2.0
// Sensor data records from their fields.
#include "sim/machine/SdrWriter.h"

#include "sim/machine/SdrLayout.h"

#include <algorithm>
#include <stdexcept>

namespace Sim
{

namespace
{

constexpr std::size_t kLongestId = 16;

void put(Bytes& body, std::size_t offset, unsigned value)
{
    body.at(offset - SdrLayout::kHeaderSize) = static_cast<std::uint8_t>(value & 0xff);
}

void setWord(Bytes& body, std::size_t offset, unsigned value)
{
    put(body, offset, value);
    put(body, offset + 1, value >> 8);
}

void setFactors(Bytes& body, const SensorRecord& r)
{
    const auto m = static_cast<unsigned>(r.scale.m), b = static_cast<unsigned>(r.scale.b);
    const std::size_t at = SdrLayout::Full::kFactors;
    put(body, at, m);
    put(body, at + 1, (m >> 8 & 3) << 6 | (r.tolerance & 0x3f));
    put(body, at + 2, b);
    put(body, at + 3, (b >> 8 & 3) << 6 | (r.accuracy & 0x3f));
    put(body, at + 4, (r.accuracy >> 6 & 0xf) << 4 | (r.accuracyExponent & 3) << 2 | (r.direction & 3U));
    put(body, at + 5,
        (static_cast<unsigned>(r.scale.resultExponent) & 0xf) << 4 | (static_cast<unsigned>(r.scale.bExponent) & 0xf));
}

void setFull(Bytes& body, const SensorRecord& r)
{
    put(body, SdrLayout::kUnits, static_cast<unsigned>(r.scale.format) << 6 | r.units[0]);
    put(body, SdrLayout::Full::kLinearization, r.scale.linearization);
    setFactors(body, r);
    put(body, SdrLayout::Full::kAnalogFlags, r.analogFlags);
    for (std::size_t i = 0; i < r.nominal.size(); ++i)
        put(body, SdrLayout::Full::kNominal + i, r.nominal[i]);
    for (std::size_t i = 0; i < r.thresholds.size(); ++i)
        put(body, SdrLayout::thresholdAt(i), r.thresholds[i]);
    put(body, SdrLayout::Full::kPositiveHysteresis, r.hysteresis[0]);
    put(body, SdrLayout::Full::kNegativeHysteresis, r.hysteresis[1]);
    put(body, SdrLayout::Full::kOemByte, r.oem);
}

/// The two sharing bytes; event-only records have them elsewhere.
void setShare(Bytes& body, std::size_t offset, const SensorRecord& r)
{
    const unsigned modifier = r.share.alphabetic ? 1 : 0;
    put(body, offset, static_cast<unsigned>(r.direction) << 6 | modifier << 4 | (r.share.count & 0xf));
    put(body, offset + 1, (r.share.entityInstances ? 0x80U : 0U) | (r.share.offset & 0x7f));
}

void setCompact(Bytes& body, const SensorRecord& r)
{
    put(body, SdrLayout::kUnits, static_cast<unsigned>(RawFormat::none) << 6 | r.units[0]);
    setShare(body, SdrLayout::Compact::kShare, r);
    put(body, SdrLayout::Compact::kPositiveHysteresis, r.hysteresis[0]);
    put(body, SdrLayout::Compact::kNegativeHysteresis, r.hysteresis[1]);
    put(body, SdrLayout::Compact::kOemByte, r.oem);
}

void setReadable(Bytes& body, const SensorRecord& r)
{
    put(body, SdrLayout::kInit, r.init);
    put(body, SdrLayout::kCapabilities, r.capabilities);
    put(body, SdrLayout::kSensorType, r.type);
    put(body, SdrLayout::kEventType, r.eventType);
    setWord(body, SdrLayout::kAssertions, r.masks[0]);
    setWord(body, SdrLayout::kDeassertions, r.masks[1]);
    setWord(body, SdrLayout::kReadable, r.masks[2]);
    put(body, SdrLayout::kUnits + 1, r.units[1]);
    put(body, SdrLayout::kUnits + 2, r.units[2]);
}

void setEventOnly(Bytes& body, const SensorRecord& r)
{
    put(body, SdrLayout::EventOnly::kSensorType, r.type);
    put(body, SdrLayout::EventOnly::kEventType, r.eventType);
    setShare(body, SdrLayout::EventOnly::kShare, r);
    put(body, SdrLayout::EventOnly::kOemByte, r.oem);
}

std::size_t fixedSize(SensorRecord::Kind kind)
{
    switch (kind) {
    case SensorRecord::Kind::full:
        return SdrLayout::Full::kIdCode;
    case SensorRecord::Kind::compact:
        return SdrLayout::Compact::kIdCode;
    default:
        return SdrLayout::EventOnly::kIdCode;
    }
}

} // namespace

Bytes encodeIdString(std::string_view text, IdEncoding encoding)
{
    Bytes bytes = encodeText(text, encoding);
    if (bytes.size() > kLongestId)
        throw std::invalid_argument("does not fit in 16 bytes");
    bytes.insert(bytes.begin(), static_cast<std::uint8_t>(static_cast<unsigned>(encoding) << 6 | bytes.size()));
    return bytes;
}

Bytes writeRecord(std::uint16_t recordId, std::uint8_t type, const Bytes& body)
{
    constexpr std::uint8_t kSdrVersion = 0x51;
    Bytes record;
    putWord(record, recordId);
    putBytes(record, Bytes{kSdrVersion, type, static_cast<std::uint8_t>(std::min<std::size_t>(body.size(), 255))});
    record.insert(record.end(), body.begin(), body.begin() + record[SdrLayout::kLength]);
    return record;
}

Bytes writeSensorRecord(std::uint16_t recordId, const SensorRecord& r)
{
    Bytes body(fixedSize(r.kind) - SdrLayout::kHeaderSize);
    put(body, SdrLayout::kOwner, r.key.owner);
    put(body, SdrLayout::kLun, static_cast<unsigned>(r.channel) << 4 | r.key.lun);
    put(body, SdrLayout::kNumber, r.key.number);
    put(body, SdrLayout::kEntityId, r.entityId);
    put(body, SdrLayout::kEntityInstance, r.entityInstance);
    if (r.kind == SensorRecord::Kind::eventOnly)
        setEventOnly(body, r);
    else
        setReadable(body, r);
    if (r.kind == SensorRecord::Kind::full)
        setFull(body, r);
    else if (r.kind == SensorRecord::Kind::compact)
        setCompact(body, r);
    putBytes(body, r.id);
    return writeRecord(recordId, static_cast<std::uint8_t>(r.kind), body);
}

} // namespace Sim
