// A machine's description; one that is taken is a machine that answers.
#include "sim/Bmc.h"
#include "support/Check.h"

#include <cstring>
#include <initializer_list>

using namespace Sim;

namespace
{

void askSensors(const Machine& machine)
{
    Bmc bmc(machine);
    for (const auto& [key, sensor] : machine.sensors)
        for (const std::uint8_t cmd : std::initializer_list<std::uint8_t>{0x25, 0x27, 0x2d})
            bmc.handle({.address = key.owner, .lun = key.lun, .netfn = 0x04, .cmd = cmd, .data = {key.number}});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const Machine machine = parseMachine({reinterpret_cast<const char*>(data), size}, "input");
        sdrBytes(machine);
        askSensors(machine);
    } catch (const BadFile& error) {
        Fuzz::demand(std::strchr(error.what(), '\n') == nullptr, "a complaint of one line");
    }
    return 0;
}
