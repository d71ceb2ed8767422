// SPDX-License-Identifier: Apache-2.0
// Files the names of a repository's sensors by what events say of them.
#include "sel/SelSensorNames.h"

#include "ipmi/IpmiDiscreteSensor.h"
#include "sdr/SdrSummary.h"

#include <optional>
#include <vector>

namespace Tool
{

namespace sdr = Ipmi::wire::sdr;

namespace
{

constexpr unsigned kGeneratorBits = 0xf3ff; ///< without the two that are reserved (IPMI 2.0, table 32-1)

constexpr unsigned placeOf(unsigned generator, unsigned number)
{
    return (generator & kGeneratorBits) << 8 | (number & 0xff);
}

bool isOfSensor(std::uint8_t type)
{
    return type == sdr::kFullType || type == sdr::kCompactType || type == sdr::kEventOnlyType;
}

/// Where the record has the number of sensors that share it; nothing where they cannot.
std::optional<std::size_t> sharingAt(std::uint8_t type)
{
    if (type == sdr::kFullType)
        return std::nullopt;
    return type == sdr::kCompactType ? sdr::compact::kSharing : sdr::event_only::kSharing;
}

} // namespace

SelSensorNames::SelSensorNames(std::span<const std::uint8_t> repository)
{
    for (const SdrBytes& record : splitRecords(repository)) {
        if (isOfSensor(record.at(sdr::kType)) && record.size() > sdr::kNumber)
            add(record);
    }
}

SelSensorNames::SelSensorNames(const Sensors& sensors)
{
    for (const auto& sensor : sensors) {
        const unsigned channel = sensor->getChannel(), lun = sensor->getLun();
        const unsigned where = sensor->getOwnerId() | (channel << 4 | lun) << 8;
        byPlace_.emplace(placeOf(where, sensor->getSensorNumber()), sensor->getSensorIdString());
    }
}

/// Of sensors that share a record, each has a number and an offset one higher than the one before. The library makes
/// the name out of the offset while the record says that it is shared.
void SelSensorNames::add(const SdrBytes& record)
{
    std::vector<std::uint8_t> bytes(record.all().begin(), record.all().end());
    const auto sharing = sharingAt(record.at(sdr::kType));
    const unsigned count = sharing && record.size() > *sharing + 1 ? record.bits(*sharing, 3, 0) : 1;
    for (unsigned i = 0; i == 0 || i < count; ++i) {
        if (i > 0) {
            std::uint8_t& offset = bytes[*sharing + 1];
            offset = static_cast<std::uint8_t>((offset & ~sdr::kModifierBits) | ((offset + 1) & sdr::kModifierBits));
        }
        const Ipmi::IpmiDiscreteSensor sensor(static_cast<int>(bytes.size()), bytes.data(), 0);
        byPlace_.emplace(placeOf(record.le16(sdr::kOwner), record.at(sdr::kNumber) + i), sensor.getSensorIdString());
    }
}

std::string SelSensorNames::name(unsigned generator, unsigned number) const
{
    const auto found = byPlace_.find(placeOf(generator, number));
    return found == byPlace_.end() ? "" : found->second;
}

} // namespace Tool
