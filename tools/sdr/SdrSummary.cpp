// SPDX-License-Identifier: Apache-2.0
// Tells what each type of record has to tell.
#include "sdr/SdrSummary.h"

#include "ipmi/IpmiDiscreteSensor.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string_view>

namespace Tool
{

namespace sdr = Ipmi::wire::sdr;

namespace
{

struct TypeName {
    std::uint8_t type;
    std::string_view name;
};

// IPMI 2.0, section 43
constexpr std::array<TypeName, 11> kTypeNames{{
    {sdr::kFullType, "full sensor"},
    {sdr::kCompactType, "compact sensor"},
    {sdr::kEventOnlyType, "event-only sensor"},
    {sdr::kEntityType, "entity association"},
    {sdr::kDeviceEntityType, "device entity association"},
    {sdr::kGenericLocatorType, "device locator"},
    {sdr::kFruLocatorType, "FRU device locator"},
    {sdr::kMcLocatorType, "controller locator"},
    {sdr::kMcConfirmationType, "controller confirmation"},
    {sdr::kChannelInfoType, "BMC message channel info"},
    {sdr::kOemType, "OEM"},
}};

/// The text of a type/length byte and what follows it. The library decodes identifiers of sensors: the field goes to it
/// inside an event-only record.
std::string identifier(std::span<const std::uint8_t> field)
{
    constexpr std::size_t kMostField = 32; ///< a length byte and 31 characters
    std::vector<std::uint8_t> record(sdr::event_only::kIdCode);
    record[sdr::kType] = sdr::kEventOnlyType;
    const auto kept = field.first(std::min(field.size(), kMostField));
    record.insert(record.end(), kept.begin(), kept.end());
    return Ipmi::IpmiDiscreteSensor(static_cast<int>(record.size()), record.data(), 0).getSensorIdString();
}

constexpr unsigned instanceOf(unsigned byte)
{
    return byte & 0x7f;
}

} // namespace

std::vector<SdrBytes> splitRecords(std::span<const std::uint8_t> all)
{
    std::vector<SdrBytes> records;
    while (all.size() >= sdr::kHeaderSize) {
        const std::size_t size = std::min(all.size(), sdr::kHeaderSize + all[sdr::kLength]);
        records.emplace_back(all.first(size));
        all = all.subspan(size);
    }
    return records;
}

std::string recordTypeName(std::uint8_t type)
{
    const auto found =
        std::find_if(kTypeNames.begin(), kTypeNames.end(), [type](const TypeName& row) { return row.type == type; });
    return found == kTypeNames.end() ? "" : std::string(found->name);
}

std::string entityKey(unsigned id, unsigned instance)
{
    return fmt::format("{}.{}", id, instance);
}

SdrSummary::SdrSummary(const SdrBytes& record)
    : id(record.le16(sdr::kId)), type(record.at(sdr::kType)), typeName(recordTypeName(type)), length(record.size())
{
    read(record);
}

void SdrSummary::read(const SdrBytes& record)
{
    switch (type) {
    case sdr::kFullType:
        return readSensor(record, sdr::full::kIdCode);
    case sdr::kCompactType:
        return readSensor(record, sdr::compact::kIdCode);
    case sdr::kEventOnlyType:
        return readSensor(record, sdr::event_only::kIdCode);
    case sdr::kGenericLocatorType:
    case sdr::kFruLocatorType:
    case sdr::kMcLocatorType:
        return readLocator(record);
    case sdr::kEntityType:
        return readAssociation(record, sdr::kEntityLayout);
    case sdr::kDeviceEntityType:
        address = record.at(sdr::kDeviceEntityAddress);
        return readAssociation(record, sdr::kDeviceEntityLayout);
    default:
        data = fmt::format("{:02x}", fmt::join(record.from(sdr::kHeaderSize), " "));
    }
}

void SdrSummary::readSensor(const SdrBytes& record, std::size_t idCode)
{
    owner = record.at(sdr::kOwner);
    lun = record.bits(sdr::kLun, 1, 0);
    number = record.at(sdr::kNumber);
    entityId = record.at(sdr::kEntityId);
    entityInstance = instanceOf(record.at(sdr::kEntityInstance));
    name = identifier(record.from(idCode));
}

/// Of a device and of a FRU device that is not logical the address is its own, behind the controller's; of a logical
/// FRU device the controller's, and the other byte is the device's id.
void SdrSummary::readLocator(const SdrBytes& record)
{
    const bool logical = record.bit(sdr::locator::kFlags, sdr::locator::kLogicalBit);
    const std::uint8_t second = record.at(sdr::locator::kDevice);
    address = record.at(sdr::locator::kAddress);
    if (type == sdr::kFruLocatorType && logical)
        device = second;
    else if (type != sdr::kMcLocatorType)
        address = second;
    entityId = record.at(sdr::locator::kEntityId);
    entityInstance = instanceOf(record.at(sdr::locator::kEntityId + 1));
    name = identifier(record.from(sdr::locator::kIdCode));
}

void SdrSummary::readAssociation(const SdrBytes& record, const sdr::AssociationLayout& layout)
{
    entityId = record.at(sdr::kContainerId);
    entityInstance = instanceOf(record.at(sdr::kContainerInstance));
    const bool ranges = record.bit(layout.flags, sdr::kRangesBit);
    const auto member = [&](std::size_t index) {
        const std::size_t at = layout.firstMember + index * layout.memberSize;
        return record.at(at) == 0 ? "" : entityKey(record.at(at), instanceOf(record.at(at + 1)));
    };
    for (std::size_t i = 0; i < sdr::kMemberCount; i += ranges ? 2 : 1) {
        const std::string text = member(i);
        if (!text.empty())
            members.push_back(ranges ? text + " to " + member(i + 1) : text);
    }
}

std::string SdrSummary::place() const
{
    if (number)
        return fmt::format("0x{:02x}/{} 0x{:02x}", *owner, *lun, *number);
    if (device)
        return fmt::format("0x{:02x} FRU {}", *address, *device);
    return address ? fmt::format("0x{:02x}", *address) : "";
}

} // namespace Tool
