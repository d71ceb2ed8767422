// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: SDR repository commands.
#include "sim/bmc/BmcCommand.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::size_t kRepositoryUnit = 16, kRepositoryUnits = 0x1000; ///< allocation units of the simulated memory
constexpr std::uint8_t kSdrSupports = 0x23;                            ///< non-modal update, reserve, allocation info

std::size_t usedUnits(const BmcState& state)
{
    std::size_t used = 0;
    for (const Bytes& record : state.machine.sdr)
        used += (record.size() + kRepositoryUnit - 1) / kRepositoryUnit;
    return std::min(used, kRepositoryUnits);
}

Bytes getSdrRepositoryInfo(BmcState& state, const Request&)
{
    const Machine& machine = state.machine;
    Bytes answer{kOk, machine.sdrVersion};
    putWord(answer, static_cast<unsigned>(std::min<std::size_t>(machine.sdr.size(), 0xffff)));
    putWord(answer, static_cast<unsigned>(
                        std::min<std::size_t>((kRepositoryUnits - usedUnits(state)) * kRepositoryUnit, 0xfffe)));
    putLong(answer, machine.sdrAddTime);
    putLong(answer, machine.sdrEraseTime);
    answer.push_back(kSdrSupports);
    return answer;
}

Bytes getSdrAllocationInfo(BmcState& state, const Request&)
{
    const auto free = static_cast<unsigned>(kRepositoryUnits - usedUnits(state));
    Bytes answer{kOk};
    for (const unsigned word :
         {static_cast<unsigned>(kRepositoryUnits), static_cast<unsigned>(kRepositoryUnit), free, free})
        putWord(answer, word);
    answer.push_back(255 / kRepositoryUnit); // largest record, in units
    return answer;
}

Bytes reserveSdrRepository(BmcState& state, const Request&)
{
    state.sdrReservation = state.newReservation();
    Bytes answer{kOk};
    putWord(answer, state.sdrReservation);
    return answer;
}

std::size_t findRecord(const std::vector<Bytes>& records, std::uint16_t id)
{
    if (id == kFirstRecord)
        return 0;
    if (id == kLastRecord)
        return records.size() - 1; // past the end when there is none
    const auto found =
        std::find_if(records.begin(), records.end(), [&](const Bytes& record) { return wordAt(record, 0) == id; });
    return static_cast<std::size_t>(found - records.begin());
}

Bytes getSdr(BmcState& state, const Request& request)
{
    const std::uint16_t reservation = wordAt(request.data, 0), id = wordAt(request.data, 2);
    const std::size_t offset = request.data[4], wanted = request.data[5];
    // Reads from offset 0 need no reservation; a wrong one is refused all the same, as strict BMCs do.
    if ((offset != 0 || reservation != 0) && (reservation == 0 || reservation != state.sdrReservation))
        return {kReservationCancelled};
    const auto& records = state.machine.sdr;
    const std::size_t index = findRecord(records, id);
    if (index >= records.size())
        return {kNotPresent};
    const Bytes& record = records[index];
    if (offset >= record.size())
        return {kOutOfRange};
    const std::size_t count = std::min(wanted, record.size() - offset); // FFh: all that is left
    if (count > state.limits.sdr)
        return {kTooManyBytes};
    Bytes answer{kOk};
    putWord(answer, index + 1 < records.size() ? wordAt(records[index + 1], 0) : kLastRecord);
    const auto from = record.begin() + static_cast<std::ptrdiff_t>(offset);
    answer.insert(answer.end(), from, from + static_cast<std::ptrdiff_t>(count));
    return answer;
}

Bytes getSdrRepositoryTime(BmcState& state, const Request&)
{
    Bytes answer{kOk};
    putLong(answer, state.now());
    return answer;
}

constexpr BmcCommand kSdrCommands[] = {
    {kStorageNetfn, 0x20, 0, 0, getSdrRepositoryInfo}, {kStorageNetfn, 0x21, 0, 0, getSdrAllocationInfo},
    {kStorageNetfn, 0x22, 0, 0, reserveSdrRepository}, {kStorageNetfn, 0x23, 6, 6, getSdr},
    {kStorageNetfn, 0x28, 0, 0, getSdrRepositoryTime},
};

} // namespace

std::span<const BmcCommand> sdrCommands()
{
    return kSdrCommands;
}

} // namespace Sim
