#include "sim/FaultAction.h"

#include "sim/Command.h"
#include "sim/SelLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

constexpr std::uint8_t kGetSdr = 0x23, kGetSelEntry = 0x43;
constexpr std::size_t kOffset = 4;              ///< in both requests: where in the record the answer begins
constexpr std::size_t kNextId = 1, kRecord = 3; ///< in both answers

void set(Bytes& bytes, std::size_t offset, unsigned value)
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
            set(bytes, kRecord + i - first, static_cast<unsigned>(*action.otherRecordId >> 8 * i));
    }
    if (action.nextId) {
        set(bytes, kNextId, *action.nextId);
        set(bytes, kNextId + 1, *action.nextId >> 8U);
    }
}

SelRecord plainEvent()
{
    using namespace SelLayout;
    SelRecord record{};
    record[kType] = kSystemEvent;
    record[kGenerator] = kBmcAddress;
    record[kRevision] = kEventRevision;
    std::fill(record.begin() + kSensorType, record.end(), kUnspecified);
    return record;
}

void changeSel(SelChange change, const Request& request, BmcState& state)
{
    constexpr std::uint32_t kOneHour = 3600;
    constexpr std::size_t kAsked = 2;
    const bool asks = request.netfn == kStorageNetfn && request.cmd == kGetSelEntry;
    switch (change) {
    case SelChange::none:
        break;
    case SelChange::recordAdded:
        state.raiseEvent(plainEvent());
        break;
    case SelChange::recordDeleted:
        state.log.remove(0);
        break;
    case SelChange::askedDeleted:
        state.log.remove(asks ? wordAt(request.data, kAsked) : std::uint16_t{0});
        break;
    case SelChange::cleared:
        state.log.clear();
        break;
    case SelChange::timeBack:
        state.clock.set(state.now() - kOneHour);
        break;
    }
}

} // namespace

void applyBefore(const FaultAction& action, const Request& request, BmcState& state)
{
    if (action.lostReservation)
        state.loseReservations();
    if (action.repository == RepositoryChange::touched)
        state.touchRepository();
    else if (action.repository == RepositoryChange::recordRemoved)
        state.removeLastSdr();
    else if (action.repository == RepositoryChange::recordAdded)
        state.addOemSdr();
    changeSel(action.sel, request, state);
}

void applyAfter(const FaultAction& action, const Request& request, Answer& answer)
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
        set(answer.bytes, offset, value);
    if (action.lengthenTo && *action.lengthenTo > answer.bytes.size())
        answer.bytes.resize(*action.lengthenTo);
    if (action.cutTo && *action.cutTo < answer.bytes.size())
        answer.bytes.resize(*action.cutTo);
}

} // namespace Sim
