// SPDX-License-Identifier: Apache-2.0
// What each kind of interference does to repository, event log and clock.
#include "sim/bmc/Interference.h"

#include "sim/machine/SelLayout.h"

#include <algorithm>

namespace Sim
{

namespace
{

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

void interfere(const FaultAction& action, const Request& request, BmcState& state)
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

} // namespace Sim
