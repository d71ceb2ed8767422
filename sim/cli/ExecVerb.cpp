#include "sim/cli/ExecVerb.h"

#include "sim/cli/Command.h"
#include "sim/cli/Failure.h"
#include "sim/cli/Simulation.h"
#include "sim/cli/SocketFolder.h"

#include <iostream>

namespace Sim
{

int execVerb(const MachineOptions& options, const std::vector<std::string>& words)
{
    if (words.empty())
        throw Failure("exec needs a command after --, as in: trx-bmcsim exec -- ipmitool sensor list");
    Simulation simulation(options);
    const TemporaryFolder folder;
    DeviceSocket socket(simulation.device, folder.path());
    Command command(words, folder.path());
    runEventLoop({&socket, &command});
    if (const std::string random = simulation.bmc.faultPosition(); !random.empty())
        std::cerr << "trx-bmcsim: random faults: " << random << '\n';
    return command.status();
}

} // namespace Sim
