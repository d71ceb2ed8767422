// SPDX-License-Identifier: Apache-2.0
// A BMC that goes wrong at random while everything that a caller can do is done in turns, until a hundred thousand
// commands have gone wrong. Every run is the same; TRX_SEED=<seed> starts with that seed, as a failure names it.
#include "faults/Model.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/machine/MachineFile.h"
#include "support/CallerUse.h"

#include <cstdlib>
#include <random>

using namespace FaultTest;
using namespace SdrTest;

namespace
{

using Random = std::mt19937_64;

constexpr std::uint64_t kFaultyCommands = kSanitized ? 30'000 : 100'000;

unsigned below(Random& random, unsigned limit)
{
    return static_cast<unsigned>(random() % limit);
}

Bytes noise(Random& random, unsigned most)
{
    Bytes bytes(below(random, most + 1));
    for (auto& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

// --- what callers do

void useSensors(Random& random)
{
    for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0))
        if (below(random, 4) == 0)
            Support::useSensor(*sensor);
}

void sendRaw(Random& random)
{
    Bytes data = noise(random, 40), room(below(random, 41));
    auto length = static_cast<unsigned short>(room.size());
    Ipmi::IpmiIfc::sendCmd(0, static_cast<std::uint8_t>(random()), static_cast<std::uint8_t>(random()),
                           static_cast<unsigned short>(data.size()), data.data(), &length, room.data());
    EXPECT_LE(length, room.size());
    Ipmi::ipmiifc_req request;
    request.msgid = static_cast<long>(below(random, 4)); // the same ones again and again
    request.msg = {0x06, 0x01, static_cast<std::uint16_t>(data.size()), data.data()};
    Ipmi::ipmiifc_resp* answer = Ipmi::IpmiIfc::OemIpmiIfcSend(0, &request, 1);
    Ipmi::IpmiIfcRespDel(&answer);
}

constexpr void (*kActionsOfCallers[])(Random&) = {
    [](Random&) { Ipmi::IpmiIfcSdrGetInfo(0); },
    [](Random&) { Ipmi::IpmiIfcSensorUpdateReading(0); },
    [](Random&) { Ipmi::IpmiIfcSensorRefreshAll(0); },
    useSensors,
    [](Random&) { Ipmi::IpmiIfcInitForCLI(0); }, // forgets who the BMC is
    [](Random&) { Support::useIdentity(0); },
    sendRaw,
    [](Random&) { Support::useInventory(0); },
    [](Random&) { Ipmi::IpmiIfc::getLan()->status(); },
    [](Random&) { Ipmi::IpmiIfc::getLan()->IpmiIfcLanInstantiate(0); },
};

/// Some of what a caller can do, with so many of a thousand commands going wrong. @return how many did, about
std::uint64_t runFaulty(SdrBmc& node, std::uint64_t seed, unsigned perMille)
{
    constexpr unsigned kActions = 20, kMostCommandsOfAction = 30'000;
    Random random(seed);
    node.restart();
    node.bmc.setFaults(Sim::FaultPlan::random(seed, perMille));
    for (unsigned i = 0; i < kActions; ++i) {
        const std::uint64_t before = node.bmc.count();
        kActionsOfCallers[below(random, std::size(kActionsOfCallers))](random);
        EXPECT_LE(node.bmc.count() - before, kMostCommandsOfAction) << node.bmc.faultPosition();
    }
    return node.bmc.count() * perMille / 1000;
}

TEST(RandomFaults, CostWhatTheyHitAndNothingElse)
{
    static constexpr unsigned kPerMille[] = {10, 100, 300, 600};
    const Sim::Machine machine = steady(Sim::loadMachine("sample"));
    std::uint64_t faulty = 0;
    for (std::uint64_t seed = firstSeed(); faulty < kFaultyCommands && !HasFailure(); ++seed) {
        SCOPED_TRACE("TRX_SEED=" + std::to_string(seed));
        SdrBmc node(machine);
        ASSERT_EQ(Ipmi::IpmiIfcSdrGetInfo(0) + Ipmi::IpmiIfcFruInstantiateAll(0), 0);
        const Model healthy = currentModel();
        faulty += runFaulty(node, seed, kPerMille[seed % std::size(kPerMille)]);

        SCOPED_TRACE(node.bmc.faultPosition());
        node.restart();
        node.bmc.change([&machine](Sim::Machine& changed) { changed = machine; });
        Ipmi::IpmiIfcCloseForCLI(0); // forgets the entities of damaged records
        ASSERT_GT(Ipmi::IpmiIfcOpenIpmiOpen(0), 0);
        ASSERT_EQ(Ipmi::IpmiIfcInitForCLI(0), 0);
        ASSERT_EQ(Ipmi::IpmiIfcSdrGetInfo(0) + Ipmi::IpmiIfcFruInstantiateAll(0), 0);
        ASSERT_EQ(currentModel(), healthy);
    }
}

} // namespace
