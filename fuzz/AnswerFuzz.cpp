// A BMC whose answers the input spoils while a node is loaded, refreshed and asked everything.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/Bmc.h"
#include "sim/SdrSensors.h"
#include "support/CallerUse.h"
#include "support/Check.h"
#include "support/Input.h"
#include "support/SimNode.h"

#include <algorithm>

using namespace Ipmi;

namespace
{

/// Some of the sample machine: every kind of record, and few enough for many runs.
Sim::Machine someSensors()
{
    constexpr std::size_t kStep = 7;
    Sim::Machine machine = Sim::loadMachine("sample");
    std::vector<Sim::Bytes> records;
    for (std::size_t i = 0; i < machine.sdr.size(); i += kStep)
        records.push_back(machine.sdr[i]);
    machine.sensors = Sim::sensorsOf(records);
    machine.sdr = std::move(records);
    return machine;
}

/// Each answer takes a byte of the input, which says what becomes of it; when there is none any more all is well.
class Spoiler final : public Sim::Responder
{
public:
    Spoiler(const Sim::Machine& machine, Fuzz::Span input) : bmc_(machine), input_(input) {}

    Sim::Answer handle(const Sim::Request& request) override
    {
        Fuzz::demand(++commands_ < kMostCommands, "an end");
        Sim::Answer answer = bmc_.handle(request);
        const unsigned what = input_.u8(), value = what >> 3;
        switch (what & 7) {
        case 1:
            answer.answered = false;
            break;
        case 2:
            answer.delay = std::chrono::seconds(value);
            break;
        case 3:
            answer.bytes.resize(std::min<std::size_t>(value, answer.bytes.size()));
            break;
        case 4: {
            const auto piece = Fuzz::nextPiece(input_);
            answer.bytes.assign(piece.begin(), piece.end());
            break;
        }
        case 5:
            answer.bytes = {input_.u8()};
            break;
        case 6:
            bmc_.loseReservations();
            break;
        case 7:
            if (value < answer.bytes.size())
                answer.bytes[value] = input_.u8();
            break;
        default:
            break;
        }
        return answer;
    }

private:
    static constexpr unsigned kMostCommands = 100'000;

    Sim::Bmc bmc_;
    TRX::WireReader input_;
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Sim::Machine machine = someSensors();
    Spoiler spoiler(machine, {data, size});
    Support::SimNode node(spoiler);
    useNode();
    return 0;
}
