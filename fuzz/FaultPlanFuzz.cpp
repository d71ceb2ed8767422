// A fault plan; one that is taken is carried out.
#include "sim/Bmc.h"
#include "support/Check.h"

#include <cstring>

using namespace Sim;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Machine machine = loadMachine("sample");
    static Bmc bmc(machine);
    try {
        bmc.setFaults(parseFaultPlan({reinterpret_cast<const char*>(data), size}, "input"));
        for (unsigned i = 0; i < 4; ++i)
            bmc.handle({.netfn = 0x0a, .cmd = 0x23, .data = {0, 0, 0, 0, 0, 0xff}}); // a whole record
    } catch (const BadFile& error) {
        Fuzz::demand(std::strchr(error.what(), '\n') == nullptr, "a complaint of one line");
    }
    return 0;
}
