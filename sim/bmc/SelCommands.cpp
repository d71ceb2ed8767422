// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: system event log commands.
#include "sim/bmc/BmcCommand.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <utility>

namespace Sim
{

namespace
{

constexpr std::uint16_t kFirstPart = 0x0000;
constexpr std::uint8_t kSelVersion = 0x51, kOverflow = 0x80;
constexpr std::uint8_t kSelSupports = 0x0f; ///< delete, partial add, reserve, allocation info
constexpr std::uint8_t kWrongSize = 0x80;

Bytes answerWith(std::uint16_t id)
{
    Bytes answer{kOk};
    putWord(answer, id);
    return answer;
}

Bytes getSelInfo(BmcState& state, const Request&)
{
    const Machine& machine = state.machine;
    Bytes answer{kOk, kSelVersion};
    putWord(answer, static_cast<unsigned>(std::min<std::size_t>(machine.sel.size(), 0xffff)));
    putWord(answer, static_cast<unsigned>(std::min<std::size_t>(state.log.freeRecords() * kSelRecordSize, 0xffff)));
    putLong(answer, machine.selAddTime);
    putLong(answer, machine.selEraseTime);
    answer.push_back(static_cast<std::uint8_t>(kSelSupports | (machine.selOverflow ? kOverflow : 0)));
    return answer;
}

Bytes getSelAllocationInfo(BmcState& state, const Request&)
{
    const auto units = static_cast<unsigned>(std::min(state.machine.selCapacity, kMostSelRecords));
    const auto free = static_cast<unsigned>(std::min<std::size_t>(state.log.freeRecords(), units));
    Bytes answer{kOk};
    for (const unsigned word : {units, static_cast<unsigned>(kSelRecordSize), free, free})
        putWord(answer, word);
    answer.push_back(1); // largest record, in units
    return answer;
}

Bytes reserveSel(BmcState& state, const Request&)
{
    const std::uint16_t reservation = state.newReservation();
    state.log.reserve(reservation);
    state.partialSel = {}; // what was begun under another one is lost
    return answerWith(reservation);
}

Bytes getSelEntry(BmcState& state, const Request& request)
{
    const std::uint16_t reservation = wordAt(request.data, 0), id = wordAt(request.data, 2);
    const std::size_t offset = request.data[4], wanted = request.data[5];
    // Whole records need no reservation; a wrong one is refused all the same, as strict BMCs do.
    if ((offset != 0 || reservation != 0) && !state.log.isReserved(reservation))
        return {kReservationCancelled};
    const auto& records = state.machine.sel;
    const auto index = state.log.find(id);
    if (!index)
        return {kNotPresent};
    if (offset >= kSelRecordSize)
        return {kOutOfRange};
    const std::size_t count = std::min(wanted, kSelRecordSize - offset); // FFh: all that is left
    if (count > state.limits.sel)
        return {kTooManyBytes};
    Bytes answer = answerWith(*index + 1 < records.size() ? idOf(records[*index + 1]) : kLastRecord);
    const auto* from = records[*index].begin() + offset;
    answer.insert(answer.end(), from, from + count);
    return answer;
}

Bytes addRecord(BmcState& state, const SelRecord& record)
{
    const std::uint16_t id = state.log.add(state.log.stamped(record));
    return id == 0 ? Bytes{kOutOfSpace} : answerWith(id);
}

Bytes addSelEntry(BmcState& state, const Request& request)
{
    SelRecord record{};
    std::copy_n(request.data.begin(), record.size(), record.begin());
    return addRecord(state, record);
}

/// Parts come one after another, without gaps; the record is in the log after the last one.
Bytes partialAddSelEntry(BmcState& state, const Request& request)
{
    constexpr std::size_t kHeader = 6;
    constexpr std::uint8_t kProgress = 0x0f, kLastPart = 0x01;
    if (!state.log.isReserved(wordAt(request.data, 0)))
        return {kReservationCancelled};
    PartialSelEntry& partial = state.partialSel;
    const std::uint16_t id = wordAt(request.data, 2);
    const std::size_t offset = request.data[4], count = request.data.size() - kHeader;
    const bool isLast = (request.data[5] & kProgress) == kLastPart;
    if (id == kFirstPart)
        partial = {.id = state.log.nextId()};
    else if (id != partial.id)
        return {kNotPresent};
    if (offset != partial.size || count > kSelRecordSize - offset)
        return {kOutOfRange};
    if (isLast && offset + count != kSelRecordSize)
        return {kWrongSize};
    std::copy_n(request.data.begin() + kHeader, count, partial.record.begin() + static_cast<std::ptrdiff_t>(offset));
    partial.size += count;
    if (!isLast)
        return answerWith(partial.id);
    return addRecord(state, std::exchange(partial, {}).record);
}

Bytes deleteSelEntry(BmcState& state, const Request& request)
{
    if (!state.log.isReserved(wordAt(request.data, 0)))
        return {kReservationCancelled};
    const auto id = state.log.remove(wordAt(request.data, 2));
    return id ? answerWith(*id) : Bytes{kNotPresent};
}

Bytes clearSel(BmcState& state, const Request& request)
{
    constexpr std::array<std::uint8_t, 3> kClr{'C', 'L', 'R'};
    constexpr std::uint8_t kInitiate = 0xaa, kStatus = 0x00, kInProgress = 0x00, kCompleted = 0x01;
    const std::uint16_t reservation = wordAt(request.data, 0);
    const std::uint8_t action = request.data[5];
    // A clear cancels its own reservation, and is asked for its status with it.
    if (!state.log.isReserved(reservation) && (action != kStatus || !state.log.wasClearedUnder(reservation)))
        return {kReservationCancelled};
    if (!std::equal(kClr.begin(), kClr.end(), request.data.begin() + 2) || (action != kInitiate && action != kStatus))
        return {kInvalidField};
    if (action == kInitiate)
        state.log.clear(reservation);
    return {kOk, state.log.isErasing() ? kInProgress : kCompleted};
}

Bytes getSelTime(BmcState& state, const Request&)
{
    Bytes answer{kOk};
    putLong(answer, state.now());
    return answer;
}

Bytes setSelTime(BmcState& state, const Request& request)
{
    state.clock.set(wordAt(request.data, 0) | static_cast<std::uint32_t>(wordAt(request.data, 2)) << 16);
    return {kOk};
}

Bytes getSelTimeUtcOffset(BmcState& state, const Request&)
{
    return answerWith(state.selUtcOffset);
}

Bytes setSelTimeUtcOffset(BmcState& state, const Request& request)
{
    constexpr int kOneDay = 24 * 60;
    const std::uint16_t offset = wordAt(request.data, 0); // in minutes
    if (offset != kNoUtcOffset && std::abs(static_cast<std::int16_t>(offset)) > kOneDay)
        return {kInvalidField};
    state.selUtcOffset = offset;
    return {kOk};
}

constexpr BmcCommand kSelCommands[] = {
    {kStorageNetfn, 0x40, 0, 0, getSelInfo},          {kStorageNetfn, 0x41, 0, 0, getSelAllocationInfo},
    {kStorageNetfn, 0x42, 0, 0, reserveSel},          {kStorageNetfn, 0x43, 6, 6, getSelEntry},
    {kStorageNetfn, 0x44, 16, 16, addSelEntry},       {kStorageNetfn, 0x45, 6, 22, partialAddSelEntry},
    {kStorageNetfn, 0x46, 4, 4, deleteSelEntry},      {kStorageNetfn, 0x47, 6, 6, clearSel},
    {kStorageNetfn, 0x48, 0, 0, getSelTime},          {kStorageNetfn, 0x49, 4, 4, setSelTime},
    {kStorageNetfn, 0x5c, 0, 0, getSelTimeUtcOffset}, {kStorageNetfn, 0x5d, 2, 2, setSelTimeUtcOffset},
};

} // namespace

std::span<const BmcCommand> selCommands()
{
    return kSelCommands;
}

} // namespace Sim
