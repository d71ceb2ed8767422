// SPDX-License-Identifier: Apache-2.0
// Adding, deleting and clearing records, and finding them by id.
#include "sim/bmc/SelLog.h"

#include "sim/machine/SelLayout.h"

#include <algorithm>
#include <utility>

namespace Sim
{

namespace
{

constexpr std::uint16_t kHighestId = 0xfffe;
constexpr std::uint32_t kNowhere = UINT32_MAX;

} // namespace

std::uint16_t idOf(const SelRecord& record)
{
    return wordAt(record, SelLayout::kId);
}

void setId(SelRecord& record, std::uint16_t id)
{
    record[SelLayout::kId] = static_cast<std::uint8_t>(id & 0xff);
    record[SelLayout::kId + 1] = static_cast<std::uint8_t>(id >> 8);
}

void SelLog::index()
{
    if (std::exchange(indexed_, true))
        return;
    positions_.assign(kHighestId + 1U, kNowhere);
    for (std::size_t i = machine_.sel.size(); i-- > 0;) { // the first of several with one id counts
        if (const std::uint16_t id = idOf(machine_.sel[i]); id <= kHighestId)
            positions_[id] = static_cast<std::uint32_t>(i);
    }
}

std::optional<std::size_t> SelLog::find(std::uint16_t id)
{
    const auto& records = machine_.sel;
    if (records.empty())
        return std::nullopt;
    if (id == kFirstRecord || id == kLastRecord)
        return id == kFirstRecord ? 0 : records.size() - 1;
    index();
    return positions_[id] == kNowhere ? std::nullopt : std::optional<std::size_t>(positions_[id]);
}

std::uint16_t SelLog::nextId()
{
    index();
    std::uint16_t id = lastId_ != 0 || machine_.sel.empty() ? lastId_ : idOf(machine_.sel.back());
    for (unsigned tries = 0; tries < kHighestId; ++tries) {
        id = id >= kHighestId ? std::uint16_t{1} : static_cast<std::uint16_t>(id + 1);
        if (positions_[id] == kNowhere)
            return id;
    }
    return 0;
}

std::size_t SelLog::freeRecords() const
{
    return machine_.selCapacity - std::min(machine_.selCapacity, machine_.sel.size());
}

std::uint16_t SelLog::add(SelRecord record)
{
    const std::uint16_t id = freeRecords() == 0 ? std::uint16_t{0} : nextId();
    setId(record, id);
    if (id == 0) {
        machine_.selOverflow = true;
        note(SelJournalEntry::Kind::refused, record);
        return 0;
    }
    positions_[id] = static_cast<std::uint32_t>(machine_.sel.size());
    machine_.sel.push_back(record);
    machine_.selAddTime = clock_.now();
    lastId_ = 0;
    cancelReservation();
    note(SelJournalEntry::Kind::added, record);
    return id;
}

SelRecord SelLog::stamped(SelRecord record) const
{
    if (record[SelLayout::kType] < SelLayout::kFirstUntimed) {
        Bytes stamp;
        putLong(stamp, clock_.now());
        std::copy(stamp.begin(), stamp.end(), record.begin() + SelLayout::kTimestamp);
    }
    return record;
}

std::optional<std::uint16_t> SelLog::remove(std::uint16_t id)
{
    const auto position = find(id);
    if (!position)
        return std::nullopt;
    const auto found = machine_.sel.begin() + static_cast<std::ptrdiff_t>(*position);
    const SelRecord record = *found;
    if (lastId_ == 0)
        lastId_ = idOf(machine_.sel.back()); // it is not given again, even if it is the one that goes
    machine_.sel.erase(found);
    machine_.selEraseTime = clock_.now();
    recordsChanged();
    cancelReservation();
    note(SelJournalEntry::Kind::deleted, record);
    return idOf(record);
}

void SelLog::clear(std::uint16_t reservation)
{
    machine_.sel.clear();
    machine_.selOverflow = false;
    machine_.selEraseTime = clock_.now();
    lastId_ = 0;
    recordsChanged();
    eraseAsks_ = machine_.selClearAsks;
    eraseEnd_ = clock_.steady() + machine_.selClearTime;
    clearedUnder_ = reservation;
    cancelReservation();
    note(SelJournalEntry::Kind::cleared);
}

bool SelLog::isErasing()
{
    const bool erasing = eraseAsks_ > 0 || clock_.steady() < eraseEnd_;
    if (eraseAsks_ > 0)
        --eraseAsks_;
    return erasing;
}

void SelLog::keepJournal(bool on)
{
    keepJournal_ = on;
    journal_.clear();
}

void SelLog::note(SelJournalEntry::Kind kind, const SelRecord& record)
{
    if (keepJournal_)
        journal_.push_back({kind, record});
}

} // namespace Sim
