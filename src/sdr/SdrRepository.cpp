// SPDX-License-Identifier: Apache-2.0
// Filing records in their lists, shared ones once for each sensor.
#include "sdr/SdrRepository.h"

#include "wire/SdrLayout.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <span>
#include <unordered_map>

namespace Ipmi
{

namespace sdr = wire::sdr;

namespace
{

using Head = ipmiifc_sdr_list* SdrRepository::*;

struct Kind {
    std::uint8_t type;
    Head head;
};

// Record types with a list of their own. The lists are dropped in this order, the one for all other types last.
constexpr Kind kKinds[] = {
    {sdr::kFullType, &SdrRepository::sdr_full},
    {sdr::kCompactType, &SdrRepository::sdr_compact},
    {sdr::kEventOnlyType, &SdrRepository::sdr_eventonly},
    {sdr::kEntityType, &SdrRepository::sdr_entity_assoc},
    {sdr::kDeviceEntityType, &SdrRepository::sdr_entity_assoc},
    {sdr::kGenericLocatorType, &SdrRepository::sdr_generic_locator},
    {sdr::kFruLocatorType, &SdrRepository::sdr_fru_locator},
    {sdr::kMcLocatorType, &SdrRepository::sdr_mc_locator},
    {sdr::kOemType, &SdrRepository::sdr_oem},
};
static_assert(std::ranges::is_sorted(kKinds, {}, &Kind::type));

Head headFor(std::uint8_t type)
{
    const auto* kind = std::ranges::find(kKinds, type, &Kind::type);
    return kind != std::end(kKinds) ? kind->head : &SdrRepository::sdr_other;
}

void dropList(ipmiifc_sdr_list*& head)
{
    while (ipmiifc_sdr_list* entry = head) {
        head = entry->next;
        if (entry->sreading)
            entry->sreading->sdr = nullptr;
        freeEntry(entry);
    }
}

std::size_t sharingAt(const ipmiifc_sdr_list& entry)
{
    return entry.record_type == sdr::kCompactType ? sdr::compact::kSharing : sdr::event_only::kSharing;
}

/// `byte` with `step` added to the bits of `mask`, modulo their range; the other bits are kept.
constexpr std::uint8_t addWithin(std::uint8_t mask, std::uint8_t byte, int step)
{
    return static_cast<std::uint8_t>((byte & ~mask) | ((byte + step) & mask));
}
static_assert(addWithin(0x0f, 0xa0, -1) == 0xaf && addWithin(0x7f, 0xff, 1) == 0x80);

void advance(ipmiifc_sdr_list& entry, std::size_t index, std::uint8_t mask, int step)
{
    if (index < entry.length)
        entry.data[index] = addWithin(mask, entry.data[index], step);
}

} // namespace

SdrRepository::~SdrRepository()
{
    reset();
}

void SdrRepository::push(ipmiifc_sdr_list* entry)
{
    ipmiifc_sdr_list*& head = this->*headFor(entry->record_type);
    entry->next = head;
    head = entry;
    ++entries;
}

std::vector<std::vector<unsigned char>> SdrRepository::rawRecords() const
{
    // Lists are newest first: of a shared record the one that was read comes behind those made from it.
    std::unordered_map<std::uint16_t, const ipmiifc_sdr_list*> read;
    const auto note = [&read](const ipmiifc_sdr_list* entry) {
        for (; entry; entry = entry->next)
            read[entry->record_id] = entry;
    };
    for (const Kind& kind : kKinds)
        note(this->*kind.head);
    note(sdr_other);
    std::vector<std::vector<unsigned char>> records;
    for (const auto& header : std::span(sdr_headers, sdr_headers ? header_cnt : 0)) {
        const auto found = read.find(header.recordId());
        if (found != read.end())
            records.emplace_back(found->second->data, found->second->data + found->second->length);
    }
    return records;
}

bool SdrRepository::makeHeaders(std::uint32_t count)
{
    if (count > header_cnt) {
        dropHeaders();
        header_cnt = 0;
    }
    if (header_cnt != 0 && sdr_headers)
        return true;
    dropHeaders();
    sdr_headers = new (std::nothrow) ipmiifc_sdr_header[count];
    if (!sdr_headers)
        return false;
    header_cnt = count;
    return true;
}

void SdrRepository::reset()
{
    dropRecords();
    dropHeaders();
    sdr_info = {};
    sdr_reservation = {};
    header_cnt = 0;
    sdr_headers_valid = 0;
}

void SdrRepository::dropRecords()
{
    for (const Kind& kind : kKinds)
        dropList(this->*kind.head);
    dropList(sdr_other);
    entries = 0;
}

void SdrRepository::dropHeaders()
{
    delete[] sdr_headers;
    sdr_headers = nullptr;
}

unsigned shareCount(const ipmiifc_sdr_list& entry)
{
    if (entry.record_type != sdr::kCompactType && entry.record_type != sdr::kEventOnlyType)
        return 0;
    return entry.at(sharingAt(entry)) & sdr::kShareCountBits;
}

ipmiifc_sdr_list* nextShared(const ipmiifc_sdr_list& entry)
{
    auto* copy = new (std::nothrow) ipmiifc_sdr_list;
    auto* data = new (std::nothrow) std::uint8_t[entry.length];
    if (!copy || !data) {
        delete copy;
        delete[] data;
        return nullptr;
    }
    copy->record_id = entry.record_id;
    copy->record_type = entry.record_type;
    copy->length = entry.length;
    copy->data = data;
    std::copy_n(entry.data, entry.length, data);

    const std::size_t sharing = sharingAt(entry), modifier = sharing + 1;
    advance(*copy, sharing, sdr::kShareCountBits, -1);
    advance(*copy, modifier, sdr::kModifierBits, 1);
    advance(*copy, sdr::kNumber, 0xff, 1);
    if (entry.at(modifier) & sdr::kInstanceIncrements)
        advance(*copy, sdr::kEntityInstance, sdr::kInstanceBits, 1);
    return copy;
}

void freeEntry(ipmiifc_sdr_list* entry)
{
    if (entry)
        delete[] entry->data;
    delete entry;
}

} // namespace Ipmi
