#include "sim/BmcState.h"

#include "sim/Command.h"
#include "sim/SdrLayout.h"

#include <algorithm>
#include <ctime>

namespace Sim
{

namespace
{

/// Past all ids of the records; 0: none is left.
template <typename Records> std::uint16_t freeId(const Records& records)
{
    std::uint16_t last = 0;
    for (const auto& record : records)
        last = std::max(last, wordAt(record, 0));
    return last >= 0xfffe ? std::uint16_t{0} : static_cast<std::uint16_t>(last + 1); // FFFFh means the last record
}

} // namespace

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

bool BmcState::removeSdr(std::uint16_t id)
{
    const auto same = [id](const Bytes& record) { return record.size() >= 2 && wordAt(record, 0) == id; };
    if (std::erase_if(machine.sdr, same) == 0)
        return false;
    noteErasure();
    return true;
}

void BmcState::removeLastSdr()
{
    if (machine.sdr.empty())
        return;
    machine.sdr.pop_back();
    noteErasure();
}

void BmcState::noteErasure()
{
    machine.sdrEraseTime = std::max(machine.sdrEraseTime + 1, now());
    touchRepository();
}

void BmcState::addOemSdr()
{
    constexpr std::uint8_t kManufacturerSize = 3;
    const std::uint16_t id = freeId(machine.sdr);
    if (id == 0)
        return;
    Bytes record;
    putWord(record, id);
    putBytes(record, Bytes{machine.sdrVersion, SdrLayout::kOemType, kManufacturerSize, 0, 0, 0});
    machine.sdr.push_back(std::move(record));
    touchRepository();
}

std::uint16_t BmcState::addSelRecord(SelRecord record)
{
    const std::uint16_t id = freeId(machine.sel);
    if (id == 0)
        return 0;
    record[0] = static_cast<std::uint8_t>(id & 0xff);
    record[1] = static_cast<std::uint8_t>(id >> 8);
    machine.sel.push_back(record);
    machine.selAddTime = std::max(machine.selAddTime + 1, now());
    return id;
}

void BmcState::reset()
{
    loseReservations();
    systemInfo.clear();
    systemInfoProgress = 0;
}

} // namespace Sim
