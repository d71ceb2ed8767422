// SPDX-License-Identifier: Apache-2.0
// Texts that stand for a whole sensor: a description for people, and a key for programs.
#include "ipmi/IpmiSensor.h"
#include "wire/SdrLayout.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

namespace Ipmi
{

namespace sdr = wire::sdr;

namespace
{

std::string hex(unsigned int value, int digits = 2)
{
    char text[sizeof "ffffffff"];
    std::snprintf(text, sizeof text, "%0*x", digits, value);
    return text;
}

std::string kindName(unsigned int recordType)
{
    switch (recordType) {
    case sdr::kFullType:
        return "full";
    case sdr::kCompactType:
        return "compact";
    case sdr::kEventOnlyType:
        return "event-only";
    default:
        return "type" + hex(recordType);
    }
}

std::string oemDescription(const IpmiSdrRecord& record)
{
    constexpr unsigned int kHeader = 5;
    const auto end = std::min(record.length, static_cast<unsigned int>(std::size(record.bytes)));
    std::string data;
    for (unsigned int i = kHeader; i < end; ++i)
        data += (data.empty() ? "" : " ") + hex(record.at(i));
    return "OEM Record (" + hex(record.le16(sdr::kId), 4) + "): SDR Type C0h - OEM Data (" + data + ")";
}

} // namespace

std::string IpmiSensor::getDescription() const
{
    std::string subject = getSensorIdString();
    switch (record_.at(sdr::kType)) {
    case sdr::kFullType:
        subject = subject.empty() ? "[Device]" : subject;
        break;
    case sdr::kCompactType:
        if (subject.empty())
            return "Unhandled Compact SDR description";
        break;
    case sdr::kEventOnlyType:
        if (subject.empty())
            return "Unhandled eventonly SDR description";
        break;
    case sdr::kOemType:
        return oemDescription(record_);
    default:
        return "Unhandled unknown SDR description";
    }
    const IpmiEntity entity = getEntity();
    return subject + ": " + getSensorTypeString() + " of " + entity.getName() + " " +
           std::to_string(entity.getInstance()) + " (node " + std::to_string(node_) + ")";
}

std::string IpmiSensor::getDeviceId() const
{
    return "node" + std::to_string(node_) + "-owner" + hex(getOwnerId()) + "-channel" + hex(getChannel(), 1) + "-lun" +
           hex(getLun(), 1) + "-sensor" + hex(getSensorNumber()) + "-" + kindName(record_.at(sdr::kType));
}

} // namespace Ipmi
