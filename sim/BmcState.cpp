#include "sim/BmcState.h"

#include <algorithm>
#include <ctime>

namespace Sim
{

std::uint16_t BmcState::newReservation()
{
    if (++lastReservation == 0)
        ++lastReservation;
    return lastReservation;
}

std::uint32_t BmcState::now() const
{
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(std::time(nullptr)) + selClockOffset);
}

void BmcState::touchRepository()
{
    machine.sdrAddTime = std::max(machine.sdrAddTime + 1, now());
    sdrReservation = 0;
}

std::uint16_t BmcState::addSelRecord(SelRecord record)
{
    const auto idOf = [](const SelRecord& r) { return static_cast<std::uint16_t>(r[0] | r[1] << 8); };
    std::uint16_t last = 0;
    for (const SelRecord& other : machine.sel)
        last = std::max(last, idOf(other));
    if (last >= 0xfffe) // FFFFh means the last record
        return 0;
    const auto id = static_cast<std::uint16_t>(last + 1);
    record[0] = static_cast<std::uint8_t>(id & 0xff);
    record[1] = static_cast<std::uint8_t>(id >> 8);
    machine.sel.push_back(record);
    machine.selAddTime = std::max(machine.selAddTime + 1, now());
    return id;
}

} // namespace Sim
