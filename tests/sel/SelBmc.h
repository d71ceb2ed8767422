// A simulated BMC with an event log of the test's own, on node 0, running, and a handler that notes what it hears of.
#pragma once

#include "sdr/SdrBmc.h"
#include "sel/IpmiIfcSel.h"
#include "sel/SelCommands.h"

#include <functional>
#include <string>

namespace SelTest
{

using namespace SdrTest;
using Ipmi::kGetSelEntry, Ipmi::kGetSelInfo, Ipmi::kReserveSel;

inline constexpr std::uint32_t kStart = 0x60000000; ///< where the log's times begin

inline Sim::SelRecord record(unsigned id, std::uint32_t time, std::uint8_t type = 0x02)
{
    const auto byte = [](std::uint32_t value, int n) { return static_cast<std::uint8_t>(value >> 8 * n); };
    return {byte(id, 0), byte(id, 1), type, byte(time, 0), byte(time, 1), byte(time, 2), byte(time, 3), 0x20, 0, 4,
            1,           byte(id, 0), 1,    0x59,          0x11,          0x22};
}

/// Ids of the records in the cache: "1 2 3".
inline std::string cached()
{
    std::string ids;
    for (const auto& one : Ipmi::IpmiIfc::getSelData(0))
        ids += (ids.empty() ? "" : " ") + std::to_string(one->recordId());
    return ids;
}

/// "first first+1 ... last"
inline std::string range(unsigned first, unsigned last)
{
    std::string ids;
    for (unsigned id = first; id <= last; ++id)
        ids += (ids.empty() ? "" : " ") + std::to_string(id);
    return ids;
}

/// Stands before the BMC: something may happen between two requests.
struct Front : Sim::Responder {
    SdrBmc& behind;
    std::function<void(const Sim::Request&)> before;

    explicit Front(SdrBmc& node) : behind(node) {}
    Sim::Answer handle(const Sim::Request& request) override
    {
        if (before)
            before(request);
        return behind.bmc.handle(request);
    }
    Sim::Answer handleMessaging(const Sim::Request& request, const std::function<Bytes()>& carryOut) override
    {
        return behind.bmc.handleMessaging(request, carryOut);
    }
};

struct SelBmc : Front, SdrBmc {
    std::string handled; ///< ids, as they came

    /// Records 1 to `count`, ten seconds apart.
    explicit SelBmc(unsigned count = 0, unsigned firstId = 1)
        : Front(static_cast<SdrBmc&>(*this)), SdrBmc({}, {}, Support::SimNode::Serve::atOnce, this)
    {
        change([=](Sim::Machine& machine) {
            for (unsigned i = 0; i < count; ++i)
                machine.sel.push_back(record(firstId + i, kStart + 10 * (i + 1)));
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
        bmc.loseReservations();
    }
    /// An event so many seconds after the start, which need not be after the last.
    void add(std::uint32_t seconds)
    {
        change([=](Sim::Machine& machine) {
            const unsigned last = machine.sel.empty() ? 0 : machine.sel.back()[0] | machine.sel.back()[1] << 8;
            machine.sel.push_back(record(last + 1, kStart + seconds));
            machine.selAddTime = kStart + seconds;
        });
    }
    /// Of the records with ids from `first` to `last`.
    void erase(unsigned first, unsigned last)
    {
        change([=](Sim::Machine& machine) {
            std::erase_if(machine.sel, [=](const Sim::SelRecord& one) { return one[0] >= first && one[0] <= last; });
            ++machine.selEraseTime;
        });
    }
    /// Something happens before the nth of these requests, counted from now.
    void at(std::uint8_t cmd, int nth, std::function<void(SelBmc&)> what)
    {
        before = [=, this, left = nth](const Sim::Request& request) mutable {
            if (request.cmd == cmd && --left == 0)
                what(*this);
        };
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
