// SPDX-License-Identifier: Apache-2.0
// A simulated BMC with an event log of the test's own, on node 0, running, and a handler that notes what it hears of.
#pragma once

#include "sdr/SdrBmc.h"
#include "sel/IpmiIfcSel.h"
#include "sim/machine/SelLayout.h"
#include "wire/Commands.h"

#include <string>

namespace SelTest
{

using namespace SdrTest;
inline constexpr std::uint8_t kGetSelEntry = Ipmi::wire::kGetSelEntry.cmd, kGetSelInfo = Ipmi::wire::kGetSelInfo.cmd,
                              kReserveSel = Ipmi::wire::kReserveSel.cmd;
using Records = std::vector<Sim::SelRecord>;

inline constexpr std::uint32_t kStart = 0x60000000; ///< where the log's times begin

inline Sim::SelRecord record(unsigned id, std::uint32_t time, std::uint8_t type = 0x02)
{
    const auto byte = [](std::uint32_t value, int n) { return static_cast<std::uint8_t>(value >> 8 * n); };
    return {byte(id, 0), byte(id, 1), type, byte(time, 0), byte(time, 1), byte(time, 2), byte(time, 3), 0x20, 0, 4,
            1,           byte(id, 0), 1,    0x59,          0x11,          0x22};
}

inline Records cachedRecords()
{
    Records records;
    for (const auto& one : Ipmi::IpmiIfc::getSelData(0))
        std::ranges::copy(one->rawRecord().bytes, records.emplace_back().begin());
    return records;
}

/// Ids of the records in the cache: "1 2 3".
inline std::string cached()
{
    std::string ids;
    for (const auto& one : Ipmi::IpmiIfc::getSelData(0))
        ids += (ids.empty() ? "" : " ") + std::to_string(one->recordId());
    return ids;
}

struct SelBmc : SdrBmc {
    std::string handled; ///< ids, as they came

    /// Records 1 to `count`, ten seconds apart.
    explicit SelBmc(unsigned count = 0) : SdrBmc(Sim::Machine{})
    {
        change([=](Sim::Machine& machine) {
            for (unsigned id = 1; id <= count; ++id)
                machine.sel.push_back(record(id, kStart + 10 * id));
            machine.selAddTime = kStart + 10 * count;
            machine.selEraseTime = kStart;
        });
        Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_RUNNING);
        Ipmi::IpmiIfc::registerSelEventHandler(0, note, &handled);
        restart();
    }

    static void note(void* to, Ipmi::IpmiSelData* data)
    {
        auto& ids = *static_cast<std::string*>(to);
        ids += (ids.empty() ? "" : " ") + (data ? std::to_string(data->recordId()) : "null");
    }
    void change(const std::function<void(Sim::Machine&)>& how)
    {
        bmc.change(how);
        bmc.state()->loseReservations();
    }
    /// An event so many seconds after the start, which need not be after the last.
    void add(std::uint32_t seconds)
    {
        change([=](Sim::Machine& machine) {
            const unsigned last = machine.sel.empty() ? 0 : Sim::idOf(machine.sel.back());
            machine.sel.push_back(record(last + 1, kStart + seconds));
            machine.selAddTime = kStart + seconds;
        });
    }
    /// Records with ids from `first` to `last`, in another second than all erasures before.
    void erase(unsigned first, unsigned last)
    {
        change([=](Sim::Machine& machine) {
            std::erase_if(machine.sel,
                          [=](const auto& one) { return Sim::idOf(one) >= first && Sim::idOf(one) <= last; });
            ++machine.selEraseTime;
        });
    }
    /// An event that comes now and carries this number.
    void addSerial(std::size_t serial)
    {
        Sim::SelRecord one = record(0, 0);
        for (std::size_t i = Sim::SelLayout::kData; i < one.size(); ++i, serial >>= 8)
            one[i] = static_cast<std::uint8_t>(serial);
        EXPECT_NE(bmc.state()->raiseEvent(one), 0);
    }
    static std::size_t serialOf(const std::uint8_t* record)
    {
        const std::uint8_t* data = record + Sim::SelLayout::kData;
        return data[0] | static_cast<std::size_t>(data[1]) << 8 | static_cast<std::size_t>(data[2]) << 16;
    }
    int check(unsigned short* count = nullptr) { return Ipmi::IpmiIfcSelGetInfo(0, count); }
    std::string takeHandled() { return std::exchange(handled, {}); }
};

/// Get SEL Entry, the nth request and the `count` - 1 after it; 0: all from there on.
inline Sim::FaultRule entry(std::uint64_t nth, std::uint64_t count, Sim::FaultAction action)
{
    return fault(kGetSelEntry, nth, count, std::move(action));
}

} // namespace SelTest
