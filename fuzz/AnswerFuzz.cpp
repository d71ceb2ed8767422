// SPDX-License-Identifier: Apache-2.0
// A BMC whose answers the input spoils while a node is loaded, refreshed and asked everything.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/bmc/Bmc.h"
#include "sim/machine/MachineFile.h"
#include "sim/machine/SdrSensors.h"
#include "support/CallerUse.h"
#include "support/Fuzz.h"
#include "support/SimNode.h"

#include <algorithm>

using namespace Ipmi;

namespace
{

/// Some of the sample machine: every kind of record, and few enough for many runs.
Sim::Machine someSensors()
{
    constexpr unsigned kStep = 7;
    Sim::Machine machine = Sim::loadMachine("sample");
    std::erase_if(machine.sdr, [i = 0U](const Sim::Bytes&) mutable { return i++ % kStep != 0; });
    machine.sensors = Sim::sensorsOf(machine.sdr);
    return machine;
}

/// Each answer takes a byte or two of the input, which say what becomes of it; when there is none any more all is well.
class Spoiler final : public Sim::Responder
{
public:
    Spoiler(const Sim::Machine& machine, Fuzz::Span input) : bmc_(machine), input_(input) {}

    Sim::Answer handle(const Sim::Request& request) override
    {
        Fuzz::demand(++commands_ < kMostCommands, "an end");
        const unsigned what = input_.u8(), place = what >> 3;
        const std::uint8_t value = what % 8 > 3 ? input_.u8() : std::uint8_t{0};
        const Sim::FaultAction actions[8] = {
            {},
            {.lostReservation = true},
            {.noAnswer = true},
            {.cutTo = place},
            {.delay = std::chrono::seconds(value)},
            {.completionCode = value},
            {.changed = {{place, value}}},
        };
        bmc_.setFaults(Sim::FaultPlan({{.action = actions[what % 8]}}));
        Sim::Answer answer = bmc_.handle(request);
        if (what % 8 == 7) { // anything at all
            const auto bytes = input_.bytes(std::min<std::size_t>(value, input_.remaining()));
            answer.bytes.assign(bytes.begin(), bytes.end());
        }
        return answer;
    }

private:
    static constexpr unsigned kMostCommands = 100'000;

    Sim::Bmc bmc_;
    Ipmi::wire::Reader input_;
    unsigned commands_ = 0;
};

void useNode()
{
    if (IpmiIfcOpenIpmiOpen(0) < 0 || IpmiIfcInitForCLI(0) != 0)
        return;
    IpmiIfcSdrGetInfo(0);
    IpmiIfcSensorUpdateReading(0);
    IpmiIfcSensorRefreshAll(0);
    for (const auto& sensor : IpmiIfc::getSensors(0))
        Fuzz::demandClean(Support::useSensor(*sensor));
    Fuzz::demandClean(Support::useIdentity(0));
    IpmiIfcCloseForCLI(0);
}

} // namespace

void Fuzz::use(Span input)
{
    static const Sim::Machine machine = someSensors();
    Spoiler spoiler(machine, input);
    Support::SimNode node(spoiler);
    useNode();
}
