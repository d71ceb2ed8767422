// SPDX-License-Identifier: Apache-2.0
// The commands of a load, of a refresh and of a look at the event log, pinned to the byte. Who changes what is sent, or
// in which order, and means it, takes over the new line.
#include "faults/Model.h"
#include "sel/SelBmc.h"
#include "sim/machine/MachineFile.h"

#include <cstdio>
#include <map>

using namespace Ipmi;
using namespace SelTest;

namespace
{

/// FNV-1a.
struct Hash {
    std::uint64_t value = 0xcbf29ce484222325;

    void add(std::uint8_t byte) { value = (value ^ byte) * 0x100000001b3; }
    void add(const Sim::Request& request)
    {
        for (const std::uint8_t byte : {request.channel, request.address, request.lun, request.netfn, request.cmd,
                                        static_cast<std::uint8_t>(request.data.size())})
            add(byte);
        for (const std::uint8_t byte : request.data)
            add(byte);
    }
};

/// Those that the driver sends to carry the library's to a satellite.
bool isDrivers(const Sim::Request& request)
{
    return request.netfn == 0x06 && request.cmd >= 0x31 && request.cmd <= 0x34;
}

/// "0a/20 x1 0a/23 x7 ...", by network function and command, and the hash of all requests in their order.
std::string commandsOf(const std::vector<Sim::Request>& requests)
{
    std::map<std::pair<int, int>, int> counts;
    Hash hash;
    for (const Sim::Request& request : requests)
        if (!isDrivers(request)) {
            ++counts[{request.netfn, request.cmd}];
            hash.add(request);
        }
    char text[32];
    std::string commands;
    for (const auto& [command, count] : counts) {
        std::snprintf(text, sizeof text, "%02x/%02x x%d ", command.first, command.second, count);
        commands += text;
    }
    std::snprintf(text, sizeof text, "#%016llx", static_cast<unsigned long long>(hash.value));
    return commands + text;
}

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
    const struct {
        const char* name;
        std::function<void(SdrBmc&)> prepare;
        int (*run)(int node);
        const char* commands;
        int result = 0;
    } rows[] = {
        {"load",
         {},
         IpmiIfcSdrGetInfo,
         "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x1 0a/23 x638 #85081af75e4bdd9e"},
        {"refresh", {}, IpmiIfcSensorUpdateReading, "04/25 x36 04/27 x92 04/2d x128 #5682b3506c46925b"},
        {"refresh, each for itself",
         {},
         IpmiIfcSensorRefreshAll,
         "04/25 x36 04/27 x92 04/2d x129 #4076af0724a4cc93",
         1},
        {"first look at the log", addThree, look, "0a/40 x1 0a/42 x1 0a/43 x30 #4d0ce7949b20d54d"},
        {"three additions", addThree, look, "0a/40 x1 0a/42 x1 0a/43 x4 #76806b666f2a86cb"},
        {"nothing new", {}, look, "0a/40 x1 #66ec094848ec744c"},
        {"erased, and three additions",
         [](SdrBmc& node) {
             node.bmc.state()->log.clear();
             addThree(node);
         },
         look, "0a/40 x1 0a/42 x1 0a/43 x3 #63d0816a89fa00ea"},
        {"three additions, reservation lost", [](SdrBmc& node) { node.restart({entry(2, 2, kLost)}), addThree(node); },
         look, "0a/40 x1 0a/42 x3 0a/43 x6 #affbb0f648c94a82"},
        {"load, in smaller pieces", [](SdrBmc& node) { node.bmc.state()->limits = {.sdr = 14}; }, IpmiIfcSdrGetInfo,
         "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x1 0a/23 x999 #841cfdef9257bb2e"},
        {"load, in smaller pieces, reservations lost", [](SdrBmc& node) { node.restart({lost}); }, IpmiIfcSdrGetInfo,
         "04/25 x36 04/27 x92 04/2d x129 0a/20 x1 0a/22 x21 0a/23 x1019 #5ba8163fab0855ee"},
        {"LAN",
         {},
         [](int n) { return IpmiIfc::getLan(n)->initChannelNumber(n), refreshLan(n); },
         "06/42 x1 0c/02 x5 #f9c9cef9f0cb6c2d"},
        {"LAN again", {}, refreshLan, "0c/02 x5 #ae7b38cc0c08a964"},
        {"LAN, by the standard",
         {},
         [](int n) { return int(IpmiIfc::getLan(n)->status().ipv6->size()); },
         "0c/02 x16 #b58d4405ba188cc0",
         2},
    };
    SdrBmc node(FaultTest::steady(Sim::loadMachine("sample")));
    node.bmc.state()->clock.set(kStart);
    _setState(0, IpmiIfc::IPMI_STATE_RUNNING);
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        node.restart();
        if (row.prepare)
            row.prepare(node);
        EXPECT_EQ(row.run(0), row.result);
        EXPECT_EQ(commandsOf(node.bmc.log()), row.commands);
    }
}

} // namespace
