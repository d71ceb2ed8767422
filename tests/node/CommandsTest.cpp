// SPDX-License-Identifier: Apache-2.0
// The commands of a load, of a refresh and of a look at event log, inventory and LAN, pinned to the byte. Who changes
// what is sent, or in which order, and means it, takes over the new line.
#include "faults/Model.h"
#include "sel/SelBmc.h"
#include "sim/machine/MachineFile.h"

#include <cstdio>
#include <map>

using namespace Ipmi;
using namespace SelTest;

namespace
{

/// "0a/20 x1 0a/23 x7 ...", by network function and command, and a hash (FNV-1a) of all requests in their order.
std::string commandsOf(const std::vector<Sim::Request>& requests)
{
    std::map<std::pair<int, int>, int> counts;
    std::uint64_t hash = 0xcbf29ce484222325;
    const auto add = [&hash](std::uint8_t byte) { hash = (hash ^ byte) * 0x100000001b3; };
    for (const auto& one : requests) {
        if (FaultTest::isDrivers(one.netfn, one.cmd))
            continue;
        ++counts[{one.netfn, one.cmd}];
        const auto size = static_cast<std::uint8_t>(one.data.size());
        for (const std::uint8_t byte : {one.channel, one.address, one.lun, one.netfn, one.cmd, size})
            add(byte);
        std::ranges::for_each(one.data, add);
    }
    char text[32];
    std::string commands;
    for (const auto& [command, count] : counts) {
        std::snprintf(text, sizeof text, "%02x/%02x x%d ", command.first, command.second, count);
        commands += text;
    }
    std::snprintf(text, sizeof text, "#%016llx", static_cast<unsigned long long>(hash));
    return commands + text;
}

void leave(SdrBmc&) {}

void addThree(SdrBmc& node)
{
    for (unsigned id = 1; id <= 3; ++id) {
        node.sim.clock().advance(std::chrono::seconds(10));
        EXPECT_NE(node.bmc.state()->raiseEvent(record(id, 0)), 0);
    }
}

int look(int node)
{
    return IpmiIfcSelGetInfo(node, nullptr);
}

int refreshLan(int node)
{
    return IpmiIfc::getLan(node)->IpmiIfcLanInstantiate(node);
}

TEST(Commands, OfTheSampleMachineAreTheOnesKnown)
{
    static const Sim::FaultRule lost{.netfn = 0x0a, .every = 50, .action = kLost};
    const auto refresh = IpmiIfcSensorUpdateReading, refreshAll = IpmiIfcSensorRefreshAll, load = IpmiIfcSdrGetInfo;
    const auto erase = [](SdrBmc& node) {
        node.bmc.state()->log.clear();
        addThree(node);
    };
    const auto loseOnce = [](SdrBmc& node) { node.restart({entry(2, 2, kLost)}), addThree(node); };
    const auto makeSmall = [](SdrBmc& node) { node.bmc.state()->limits = {.sdr = 14}; };
    const auto loseMany = [](SdrBmc& node) { node.restart({lost}); };
    const auto firstLan = [](int n) { return IpmiIfc::getLan(n)->initChannelNumber(n), refreshLan(n); };
    const auto lanStatus = [](int n) { return int(IpmiIfc::getLan(n)->status().ipv6->size()); };
    const struct {
        const char* name;
        std::function<void(SdrBmc&)> prepare;
        int (*run)(int node);
        int result;
        const char* commands;
    } rows[] = {
        {"load", leave, load, 0, "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x1 0a/23 x638 #85081af75e4bdd9e"},
        {"refresh", leave, refresh, 0, "04/25 x36 04/27 x92 04/2d x128 #5682b3506c46925b"},
        {"refresh, each for itself", leave, refreshAll, 1, "04/25 x36 04/27 x92 04/2d x129 #4076af0724a4cc93"},
        {"first look at the log", addThree, look, 0, "0a/40 x1 0a/42 x1 0a/43 x30 #4d0ce7949b20d54d"},
        {"three additions", addThree, look, 0, "0a/40 x1 0a/42 x1 0a/43 x4 #76806b666f2a86cb"},
        {"nothing new", leave, look, 0, "0a/40 x1 #66ec094848ec744c"},
        {"erased, and three additions", erase, look, 0, "0a/40 x1 0a/42 x1 0a/43 x3 #63d0816a89fa00ea"},
        {"three additions, reservation lost", loseOnce, look, 0, "0a/40 x1 0a/42 x3 0a/43 x6 #affbb0f648c94a82"},
        {"load, in smaller pieces", makeSmall, load, 0,
         "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x1 0a/23 x999 #841cfdef9257bb2e"},
        {"load, in smaller pieces, reservations lost", loseMany, load, 0,
         "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x21 0a/23 x1019 #5ba8163fab0855ee"},
        {"inventory", leave, IpmiIfcFruInstantiateAll, 0, "0a/10 x8 0a/11 x81 #44aaba89bc240fc5"},
        {"LAN", leave, firstLan, 0, "06/42 x1 0c/02 x5 #f9c9cef9f0cb6c2d"},
        {"LAN again", leave, refreshLan, 0, "0c/02 x5 #ae7b38cc0c08a964"},
        {"LAN, by the standard", leave, lanStatus, 2, "0c/02 x16 #b58d4405ba188cc0"},
    };
    SdrBmc node(FaultTest::steady(Sim::loadMachine("sample")));
    node.bmc.state()->clock.set(kStart);
    _setState(0, IpmiIfc::IPMI_STATE_RUNNING);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        node.restart();
        row.prepare(node);
        EXPECT_EQ(row.run(0), row.result);
        EXPECT_EQ(commandsOf(node.bmc.log()), row.commands);
    }
}

} // namespace
