// SPDX-License-Identifier: Apache-2.0
// What a fault does to an answer, in its order.
#include "sim/faults/FaultAction.h"

#include "sim/bus/CompletionCode.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::size_t kOffset = 4;              ///< in both requests: where in the record the answer begins
constexpr std::size_t kNextId = 1, kRecord = 3; ///< in both answers

void setByte(Bytes& bytes, std::size_t offset, unsigned value)
{
    if (offset < bytes.size())
        bytes[offset] = static_cast<std::uint8_t>(value & 0xff);
}

bool carriesRecord(const Request& request, const Answer& answer)
{
    return request.netfn == kStorageNetfn && (request.cmd == kGetSdr || request.cmd == kGetSelEntry) &&
           request.data.size() > kOffset && !answer.bytes.empty() && answer.bytes[0] == kOk;
}

void changeIds(const FaultAction& action, const Request& request, Bytes& bytes)
{
    if (action.otherRecordId) {
        const std::size_t first = request.data[kOffset];
        for (std::size_t i = first; i < sizeof *action.otherRecordId; ++i)
            setByte(bytes, kRecord + i - first, static_cast<unsigned>(*action.otherRecordId >> 8 * i));
    }
    if (action.nextId) {
        setByte(bytes, kNextId, *action.nextId);
        setByte(bytes, kNextId + 1, *action.nextId >> 8U);
    }
}

} // namespace

void applyFault(const FaultAction& action, const Request& request, Answer& answer)
{
    answer.delay += action.delay;
    answer.busy = std::max(answer.busy, action.busy);
    if (action.noAnswer || action.silent.count() > 0) {
        answer.answered = false;
        answer.bytes.clear();
    }
    if (!answer.answered)
        return;
    if (action.completionCode)
        answer.bytes = {*action.completionCode};
    if (carriesRecord(request, answer))
        changeIds(action, request, answer.bytes);
    for (const auto& [offset, value] : action.changed)
        setByte(answer.bytes, offset, value);
    if (action.lengthenTo && *action.lengthenTo > answer.bytes.size())
        answer.bytes.resize(*action.lengthenTo);
    if (action.cutTo && *action.cutTo < answer.bytes.size())
        answer.bytes.resize(*action.cutTo);
}

} // namespace Sim
