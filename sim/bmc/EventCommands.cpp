// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: event messages to the BMC, and how far the log was processed.
#include "sim/bmc/BmcCommand.h"
#include "sim/machine/SelLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::uint16_t kNoRecord = 0xffff;

/// Without id and time. From the system interface the generator id comes first, from an IPMB it is who has sent it.
SelRecord recordOf(const Request& request)
{
    using namespace SelLayout;
    const bool fromSystem = request.channel == kSystemChannel;
    SelRecord record{};
    record[kType] = kSystemEvent;
    record[kGenerator] = fromSystem ? request.data[0] : request.requester;
    record[kGenerator + 1] =
        fromSystem ? std::uint8_t{0} : static_cast<std::uint8_t>(request.channel << 4 | request.requesterLun);
    std::fill(record.begin() + kRevision, record.end(), kUnspecified); // event data may end early
    std::copy(request.data.begin() + (fromSystem ? 1 : 0), request.data.end(), record.begin() + kRevision);
    record[kRevision] = kEventRevision; // messages of IPMI 1.0 become records of this version
    return record;
}

/// IPMI 2.0, 29.3.
Bytes platformEvent(BmcState& state, const Request& request)
{
    const bool fromSystem = request.channel == kSystemChannel;
    constexpr std::size_t kLongest = kSelRecordSize - SelLayout::kRevision, kShortest = kLongest - 2;
    const std::size_t size = request.data.size() - (fromSystem ? 1 : 0);
    if (size < kShortest || size > kLongest)
        return {kInvalidLength};
    state.raiseEvent(recordOf(request), fromSystem);
    return {kOk};
}

/// IPMI 2.0, 30.4.
Bytes setLastProcessedEventId(BmcState& state, const Request& request)
{
    constexpr std::uint8_t kByBmc = 0x01, kReserved = 0xfe;
    if ((request.data[0] & kReserved) != 0)
        return {kInvalidField};
    if (state.log.isErasing())
        return {kErasing};
    auto& last = state.lastProcessed;
    ((request.data[0] & kByBmc) != 0 ? last.byBmc : last.bySoftware) = wordAt(request.data, 1);
    return {kOk};
}

/// IPMI 2.0, 30.5.
Bytes getLastProcessedEventId(BmcState& state, const Request&)
{
    const Machine& machine = state.machine;
    if (state.log.isErasing())
        return {kErasing};
    Bytes answer{kOk};
    putLong(answer, machine.selAddTime);
    putWord(answer, machine.sel.empty() ? kNoRecord : idOf(machine.sel.back()));
    putWord(answer, state.lastProcessed.bySoftware);
    putWord(answer, state.lastProcessed.byBmc);
    return answer;
}

constexpr BmcCommand kEventCommands[] = {
    {kSensorNetfn, 0x02, 5, 8, platformEvent},
    {kSensorNetfn, 0x14, 3, 3, setLastProcessedEventId},
    {kSensorNetfn, 0x15, 0, 0, getLastProcessedEventId},
};

} // namespace

std::span<const BmcCommand> eventCommands()
{
    return kEventCommands;
}

} // namespace Sim
