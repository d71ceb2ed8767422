// IPMI 2.0: system event log commands.
#include "sim/Command.h"

#include <algorithm>
#include <array>

namespace Sim
{

namespace
{

constexpr std::uint16_t kFirstRecord = 0x0000, kLastRecord = 0xffff;
constexpr std::size_t kCapacity = 3639;
constexpr std::uint8_t kVersion = 0x51, kSupports = 0x0b; ///< delete, reserve, allocation info

std::uint16_t idOf(const SelRecord& record)
{
    return wordAt(record, 0);
}

unsigned freeRecords(const BmcState& state)
{
    return static_cast<unsigned>(kCapacity - std::min(kCapacity, state.machine.sel.size()));
}

Bytes getSelInfo(BmcState& state, const Request&)
{
    const Machine& machine = state.machine;
    Bytes answer{kOk, kVersion};
    putWord(answer, static_cast<unsigned>(std::min<std::size_t>(machine.sel.size(), 0xffff)));
    putWord(answer, static_cast<unsigned>(std::min<std::size_t>(freeRecords(state) * kSelRecordSize, 0xffff)));
    putLong(answer, machine.selAddTime);
    putLong(answer, machine.selEraseTime);
    answer.push_back(static_cast<std::uint8_t>(kSupports | (machine.selOverflow ? 0x80 : 0)));
    return answer;
}

Bytes getSelAllocationInfo(BmcState& state, const Request&)
{
    Bytes answer{kOk};
    putWord(answer, kCapacity);
    putWord(answer, kSelRecordSize);
    putWord(answer, freeRecords(state));
    putWord(answer, freeRecords(state));
    answer.push_back(1); // largest record, in units
    return answer;
}

Bytes reserveSel(BmcState& state, const Request&)
{
    state.selReservation = state.newReservation();
    Bytes answer{kOk};
    putWord(answer, state.selReservation);
    return answer;
}

bool reservationHolds(const BmcState& state, std::uint16_t reservation)
{
    return reservation != 0 && reservation == state.selReservation;
}

std::size_t findRecord(const std::vector<SelRecord>& records, std::uint16_t id)
{
    if (id == kFirstRecord)
        return 0;
    if (id == kLastRecord)
        return records.size() - 1; // past the end when there is none
    const auto found =
        std::find_if(records.begin(), records.end(), [&](const SelRecord& record) { return idOf(record) == id; });
    return static_cast<std::size_t>(found - records.begin());
}

Bytes getSelEntry(BmcState& state, const Request& request)
{
    const std::uint16_t reservation = wordAt(request.data, 0), id = wordAt(request.data, 2);
    const std::size_t offset = request.data[4], wanted = request.data[5];
    if ((offset != 0 || reservation != 0) && !reservationHolds(state, reservation))
        return {kReservationCancelled};
    const auto& records = state.machine.sel;
    const std::size_t index = findRecord(records, id);
    if (index >= records.size())
        return {kNotPresent};
    if (offset >= kSelRecordSize)
        return {kOutOfRange};
    const std::size_t count = std::min(wanted, kSelRecordSize - offset);
    if (count > state.limits.sel)
        return {kTooManyBytes};
    Bytes answer{kOk};
    putWord(answer, index + 1 < records.size() ? idOf(records[index + 1]) : kLastRecord);
    const auto* from = records[index].begin() + offset;
    answer.insert(answer.end(), from, from + count);
    return answer;
}

Bytes addSelEntry(BmcState& state, const Request& request)
{
    if (state.machine.sel.size() >= kCapacity) {
        state.machine.selOverflow = true;
        return {kOutOfSpace};
    }
    SelRecord record{};
    std::copy_n(request.data.begin(), record.size(), record.begin());
    constexpr std::size_t kType = 2, kTimestamp = 3;
    if (record[kType] < 0xe0) { // records E0h and above carry no timestamp
        Bytes stamp;
        putLong(stamp, state.now());
        std::copy(stamp.begin(), stamp.end(), record.begin() + kTimestamp);
    }
    const std::uint16_t id = state.addSelRecord(record);
    if (id == 0)
        return {kOutOfSpace};
    Bytes answer{kOk};
    putWord(answer, id);
    return answer;
}

Bytes deleteSelEntry(BmcState& state, const Request& request)
{
    auto& records = state.machine.sel;
    if (!reservationHolds(state, wordAt(request.data, 0)))
        return {kReservationCancelled};
    const std::size_t index = findRecord(records, wordAt(request.data, 2));
    if (index >= records.size())
        return {kNotPresent};
    const std::uint16_t id = idOf(records[index]);
    records.erase(records.begin() + static_cast<std::ptrdiff_t>(index));
    state.machine.selEraseTime = state.now();
    state.selReservation = 0;
    Bytes answer{kOk};
    putWord(answer, id);
    return answer;
}

Bytes clearSel(BmcState& state, const Request& request)
{
    constexpr std::array<std::uint8_t, 3> kClr{'C', 'L', 'R'};
    constexpr std::uint8_t kInitiate = 0xaa, kStatus = 0x00, kCompleted = 0x01;
    if (!reservationHolds(state, wordAt(request.data, 0)))
        return {kReservationCancelled};
    const std::uint8_t action = request.data[5];
    if (!std::equal(kClr.begin(), kClr.end(), request.data.begin() + 2) || (action != kInitiate && action != kStatus))
        return {kInvalidField};
    if (action == kInitiate) {
        state.machine.sel.clear();
        state.machine.selOverflow = false;
        state.machine.selEraseTime = state.now();
    }
    return {kOk, kCompleted};
}

Bytes getSelTime(BmcState& state, const Request&)
{
    Bytes answer{kOk};
    putLong(answer, state.now());
    return answer;
}

Bytes setSelTime(BmcState& state, const Request& request)
{
    const std::uint32_t wanted = wordAt(request.data, 0) | static_cast<std::uint32_t>(wordAt(request.data, 2)) << 16;
    state.selClockOffset += static_cast<std::int64_t>(wanted) - state.now();
    return {kOk};
}

constexpr Command kCommands[] = {
    {kStorageNetfn, 0x40, 0, 0, getSelInfo},    {kStorageNetfn, 0x41, 0, 0, getSelAllocationInfo},
    {kStorageNetfn, 0x42, 0, 0, reserveSel},    {kStorageNetfn, 0x43, 6, 6, getSelEntry},
    {kStorageNetfn, 0x44, 16, 16, addSelEntry}, {kStorageNetfn, 0x46, 4, 4, deleteSelEntry},
    {kStorageNetfn, 0x47, 6, 6, clearSel},      {kStorageNetfn, 0x48, 0, 0, getSelTime},
    {kStorageNetfn, 0x49, 4, 4, setSelTime},
};

} // namespace

std::span<const Command> selCommands()
{
    return kCommands;
}

} // namespace Sim
