// SPDX-License-Identifier: Apache-2.0
// Every command of a load, of a refresh and of a look at event log, inventory or LAN goes wrong, one a run, in every
// way of a table. The library must come back, in bounded time, with an error or with less; and the next load or refresh
// must find everything as if nothing had been.
//
// A case is one command and one fault. Commands in a row are mostly alike, so lasting faults take turns from command to
// command, and so do the lengths that answers are cut to, except that the first answer of each kind is cut to every
// one. All cases run on a machine that has few records, but every kind of them; of those on machines with many, one of
// so many. The cases of an operation are dealt out to kShards tests, which ctest runs beside each other.
#include "faults/Model.h"
#include "ipmi/IpmiNodeControl.h"
#include "sel/SelBmc.h"
#include "sim/machine/MachineFile.h"
#include "sim/machine/RawFiles.h"

#include <cstdlib>
#include <set>
#include <tuple>

using namespace FaultTest;
using namespace SdrTest;
using namespace std::chrono_literals;

namespace
{

struct Loop {
    const char* machine;
    std::size_t stride; ///< one case of so many runs; a prime, or they would be the same few faults of each command
};

constexpr std::size_t kStride = kSanitized ? 61 : 13;
constexpr Loop kComplete = {"miniature", 1}, kSample = {"sample", kStride}, kCapture = {"ztsystems", kStride};
constexpr std::size_t kShards = 2;

struct Fault {
    std::string name;
    Sim::FaultAction action;
    std::uint64_t count = 1; ///< 0: all commands from there on
};

const std::vector<Fault> kOnce = {
    {"silence", kSilence}, {"late", {.delay = 31s}}, // the library has given up then
    {"C0h", code(0xc0)},   {"C3h", code(0xc3)},      {"C5h", code(0xc5)},
    {"CAh", code(0xca)},   {"FFh", code(0xff)},      {"40 bytes", lengthened(40)},
};
const std::vector<Fault> kLasting = {
    {"silence from there on", kSilence, 0}, {"C5h from there on", code(0xc5), 0},  {"CAh from there on", code(0xca), 0},
    {"FFh from there on", code(0xff), 0},   {"one byte from there on", cut(1), 0},
};

struct Operation {
    const char* name;
    int (*run)(int node);
    void (*prepare)(SdrBmc&) = [](SdrBmc&) {};    ///< before it goes wrong
    void (*beforeNext)(SdrBmc&) = [](SdrBmc&) {}; ///< before it is done again
};

int checkLog(int node)
{
    return Ipmi::IpmiIfcSelGetInfo(node, nullptr);
}

void addEvents(SdrBmc& node, unsigned count)
{
    node.bmc.change([count](Sim::Machine& machine) {
        for (unsigned i = 0; i < count; ++i) {
            const auto id = static_cast<unsigned>(machine.sel.size()) + 1;
            machine.sel.push_back(SelTest::record(id, machine.selAddTime = SelTest::kStart + id));
        }
    });
}

void renewLog(SdrBmc& node)
{
    node.bmc.change([](Sim::Machine& machine) {
        machine.sel.clear();
        ++machine.selEraseTime;
    });
    addEvents(node, 8);
}

/// A running node that knows all but the last events.
void addToKnownLog(SdrBmc& node)
{
    Ipmi::_setState(0, Ipmi::IpmiIfc::IPMI_STATE_RUNNING);
    renewLog(node);
    ASSERT_EQ(checkLog(0), 0);
    addEvents(node, 3);
}

int refreshLan(int node)
{
    return Ipmi::IpmiIfc::getLan(node)->IpmiIfcLanInstantiate(node);
}

/// How many IPv6 addresses the BMC tells of.
int askLan(int node)
{
    const Ipmi::IpmiLanStatus status = Ipmi::IpmiIfc::getLan(node)->status();
    return status.ipv6 ? static_cast<int>(status.ipv6->size()) : -1;
}

constexpr Operation kLooped[] = {
    {"load", Ipmi::IpmiIfcSdrGetInfo},
    {"refresh", Ipmi::IpmiIfcSensorUpdateReading},
    {"refreshAll", Ipmi::IpmiIfcSensorRefreshAll},
    {"log", checkLog, renewLog},
    // What could not be read comes with the next addition, not before.
    {"additions", checkLog, addToKnownLog, [](SdrBmc& node) { addEvents(node, 1); }},
    // Its last command is a satellite's, for which the driver may still be at it.
    {"fru", Ipmi::IpmiIfcFruInstantiateAll, [](SdrBmc&) {}, [](SdrBmc& node) { node.sim.clock().advance(31s); }},
    {"lan", refreshLan},
    {"lanStatus", askLan},
};

void PrintTo(const Operation& operation, std::ostream* out)
{
    *out << operation.name;
}

void PrintTo(const Loop& loop, std::ostream* out)
{
    *out << loop.machine;
}

/// A built-in machine, or the capture of one.
Sim::Machine machineOf(const Loop& loop)
{
    if (loop.machine != std::string_view(kCapture.machine))
        return Sim::loadMachine(loop.machine);
    return Sim::machineFromRaw({.sdr = std::getenv("TRX_CAPTURES") + std::string("/") + loop.machine + "/sdr.bin"});
}

/// A healthy operation's commands, and how long their answers were.
struct Command {
    Sim::Request request;
    std::size_t length;
};

std::vector<Fault> faultsOf(const Command& command, std::size_t n, bool firstOfKind)
{
    std::vector<Fault> faults = kOnce;
    faults.push_back(kLasting[n % kLasting.size()]);
    for (std::size_t length = 0; length < command.length; ++length)
        if (firstOfKind || length == n % command.length)
            faults.push_back({"cut to " + std::to_string(length), cut(length)});
    const Sim::Request& request = command.request;
    if (request.netfn == netfnOf(kGetSdr) && (request.cmd == kGetSdr || request.cmd == SelTest::kGetSelEntry) &&
        request.data.at(4) == 0)
        faults.push_back({"another record's id", {.changed = {{3, 0x55}, {4, 0x55}}}});
    return faults;
}

/// Commands so far without the driver's own.
std::uint64_t workOf(const Sim::Bmc& bmc)
{
    std::uint64_t work = 0;
    for (const auto& [command, count] : bmc.counts())
        work += isDrivers(command.first, command.second) ? 0 : count;
    return work;
}

using FailAtN = testing::TestWithParam<std::tuple<Loop, Operation, std::size_t>>;

TEST_P(FailAtN, ComesBackAndRecovers)
{
    const auto& [loop, operation, shard] = GetParam();
    if (loop.machine == std::string_view(kCapture.machine) && !std::getenv("TRX_CAPTURES"))
        GTEST_SKIP() << "TRX_CAPTURES names no folder with captures";
    const Sim::Machine machine = steady(machineOf(loop));
    SdrBmc node(machine);
    Sim::Bmc twin(machine);
    ASSERT_EQ(Ipmi::IpmiIfcSdrGetInfo(0), 0);
    int result = 0;
    if (operation.run != Ipmi::IpmiIfcSdrGetInfo) {
        operation.prepare(node);
        node.restart();
        result = operation.run(0);
        twin.change([&](Sim::Machine& to) { to = node.bmc.machine(); });
    }
    std::vector<Command> commands;
    for (Sim::Request request : node.bmc.log()) {
        if (request.netfn == netfnOf(SelTest::kGetSelEntry) && request.cmd == SelTest::kGetSelEntry)
            request.data[0] = request.data[1] = 0; // the twin has not given the reservation
        commands.push_back({request, twin.handle(request).bytes.size()});
    }
    operation.beforeNext(node);
    EXPECT_EQ(operation.run(0), result);
    const Model healthy = currentModel();
    ASSERT_GT(healthy.size(), 30u);

    std::set<std::tuple<std::uint8_t, std::uint8_t, std::size_t>> kinds;
    std::size_t index = 0;
    for (std::size_t n = 0; n < commands.size(); ++n) {
        const auto& [request, length] = commands[n];
        for (const Fault& fault : faultsOf(commands[n], n, kinds.insert({request.netfn, request.cmd, length}).second)) {
            const std::size_t turn = index++;
            if (turn % loop.stride != 0 || turn / loop.stride % kShards != shard)
                continue;
            SCOPED_TRACE("command " + std::to_string(n + 1) + ": " + fault.name);
            Ipmi::IpmiIfcOpenIpmiOpen(0); // the driver refuses a command while a user's last 100 are not answered
            operation.prepare(node);
            node.restart({{.from = n + 1, .count = fault.count, .action = fault.action}});
            const auto start = node.sim.clock().steadyTime();
            operation.run(0);
            // For good: four tries each, and a hundred lost reservations, renewed, in each of two walks.
            EXPECT_LE(workOf(node.bmc), fault.count == 0 ? 4 * commands.size() + 400 : commands.size() + 20);
            EXPECT_LE((node.sim.clock().steadyTime() - start) / 31s, fault.count == 0 ? node.bmc.count() : 2);
            EXPECT_LE(currentModel().size(), healthy.size());

            node.restart();
            if (fault.count == 0) // but the answer to a single command may come late, here
                Ipmi::IpmiIfcOpenIpmiOpen(0);
            operation.beforeNext(node);
            EXPECT_EQ(operation.run(0), result);
            ASSERT_EQ(currentModel(), healthy);
            EXPECT_LE(workOf(node.bmc), commands.size() + 5); // controllers may be asked whether they are back
        }
    }
}

const auto nameOf = [](const auto& info) {
    const auto& [loop, operation, shard] = info.param;
    return std::string(loop.machine) + '_' + operation.name + '_' + std::to_string(shard);
};
INSTANTIATE_TEST_SUITE_P(, FailAtN,
                         testing::Combine(testing::Values(kComplete, kSample), testing::ValuesIn(kLooped),
                                          testing::Range<std::size_t>(0, kShards)),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(Capture, FailAtN, // what has not to do with its records is the same
                         testing::Combine(testing::Values(kCapture), testing::ValuesIn(kLooped, kLooped + 3),
                                          testing::Range<std::size_t>(0, kShards)),
                         nameOf);

} // namespace
