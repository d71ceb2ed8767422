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

namespace
{

struct TypeName {
    std::uint8_t type;
    std::string_view name;
};

// IPMI 2.0, section 43
constexpr std::array<TypeName, 11> kTypeNames{{
    {Sdr::kFullType, "full sensor"},
    {Sdr::kCompactType, "compact sensor"},
    {Sdr::kEventOnlyType, "event-only sensor"},
    {Sdr::kEntityType, "entity association"},
    {Sdr::kDeviceEntityType, "device entity association"},
    {Sdr::kGenericLocatorType, "device locator"},
    {Sdr::kFruLocatorType, "FRU device locator"},
    {Sdr::kMcLocatorType, "controller locator"},
    {Sdr::kMcConfirmationType, "controller confirmation"},
    {Sdr::kChannelInfoType, "BMC message channel info"},
    {Sdr::kOemType, "OEM"},
}};

/// The text of a type/length byte and what follows it. The library decodes identifiers of sensors: the field goes to it
/// inside an event-only record.
std::string identifier(std::span<const std::uint8_t> field)
{
    constexpr std::size_t kMostField = 32; ///< a length byte and 31 characters
    std::vector<std::uint8_t> record(Sdr::EventOnly::kIdCode);
    record[Sdr::kType] = Sdr::kEventOnlyType;
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
    while (all.size() >= Sdr::kHeaderSize) {
        const std::size_t size = std::min(all.size(), Sdr::kHeaderSize + all[Sdr::kLength]);
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
    : id(record.le16(Sdr::kId)), type(record.at(Sdr::kType)), typeName(recordTypeName(type)), length(record.size())
{
    read(record);
}

void SdrSummary::read(const SdrBytes& record)
{
    switch (type) {
    case Sdr::kFullType:
        return readSensor(record, Sdr::Full::kIdCode);
    case Sdr::kCompactType:
        return readSensor(record, Sdr::Compact::kIdCode);
    case Sdr::kEventOnlyType:
        return readSensor(record, Sdr::EventOnly::kIdCode);
    case Sdr::kGenericLocatorType:
    case Sdr::kFruLocatorType:
    case Sdr::kMcLocatorType:
        return readLocator(record);
    case Sdr::kEntityType:
        return readAssociation(record, Sdr::kEntity);
    case Sdr::kDeviceEntityType:
        address = record.at(Sdr::kDeviceEntityAddress);
        return readAssociation(record, Sdr::kDeviceEntity);
    default:
        data = fmt::format("{:02x}", fmt::join(record.from(Sdr::kHeaderSize), " "));
    }
}

void SdrSummary::readSensor(const SdrBytes& record, std::size_t idCode)
{
    owner = record.at(Sdr::kOwner);
    lun = record.bits(Sdr::kLun, 1, 0);
    number = record.at(Sdr::kNumber);
    entityId = record.at(Sdr::kEntityId);
    entityInstance = instanceOf(record.at(Sdr::kEntityInstance));
    name = identifier(record.from(idCode));
}

/// Of a device and of a FRU device that is not logical the address is its own, behind the controller's; of a logical
/// FRU device the controller's, and the other byte is the device's id.
void SdrSummary::readLocator(const SdrBytes& record)
{
    const bool logical = record.bit(Sdr::Locator::kFlags, Sdr::Locator::kLogicalBit);
    const std::uint8_t second = record.at(Sdr::Locator::kDevice);
    address = record.at(Sdr::Locator::kAddress);
    if (type == Sdr::kFruLocatorType && logical)
        device = second;
    else if (type != Sdr::kMcLocatorType)
        address = second;
    entityId = record.at(Sdr::Locator::kEntityId);
    entityInstance = instanceOf(record.at(Sdr::Locator::kEntityId + 1));
    name = identifier(record.from(Sdr::Locator::kIdCode));
}

void SdrSummary::readAssociation(const SdrBytes& record, const Sdr::Association& layout)
{
    entityId = record.at(Sdr::kContainer);
    entityInstance = instanceOf(record.at(Sdr::kContainer + 1));
    const bool ranges = record.bit(layout.flags, Sdr::kRangeBit);
    const auto member = [&](std::size_t index) {
        const std::size_t at = layout.firstMember + index * layout.memberSize;
        return record.at(at) == 0 ? "" : entityKey(record.at(at), instanceOf(record.at(at + 1)));
    };
    for (std::size_t i = 0; i < Sdr::kMembers; i += ranges ? 2 : 1) {
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
