// SPDX-License-Identifier: Apache-2.0
// A machine's description, or a fault plan. A machine that is taken answers, and a plan that is taken is carried out.
#include "sim/bmc/Bmc.h"
#include "sim/machine/MachineFile.h"
#include "support/Fuzz.h"

#include <initializer_list>

using namespace Sim;

namespace
{

void useMachine(std::string_view text)
{
    const Machine machine = parseMachine(text, "input");
    sdrBytes(machine);
    Bmc bmc(machine);
    for (const auto& [key, sensor] : machine.sensors)
        for (const std::uint8_t cmd : std::initializer_list<std::uint8_t>{0x25, 0x27, 0x2d})
            bmc.handle({.address = key.owner, .lun = key.lun, .netfn = 0x04, .cmd = cmd, .data = {key.number}});
}

void usePlan(std::string_view text)
{
    static Bmc bmc(loadMachine("sample"));
    bmc.setFaults(parseFaultPlan(text, "input"));
    for (unsigned i = 0; i < 4; ++i)
        bmc.handle({.netfn = 0x0a, .cmd = 0x23, .data = {0, 0, 0, 0, 0, 0xff}}); // a whole record
}

} // namespace

void Fuzz::use(Span input)
{
    const std::string_view text(reinterpret_cast<const char*>(input.data()), input.size());
    (text.find("\"faults\"") != text.npos ? usePlan : useMachine)(text);
}
