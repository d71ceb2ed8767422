// SPDX-License-Identifier: Apache-2.0
// A simulated node for as long as one program runs.
#include "sim/cli/ExecVerb.h"

#include "sim/cli/PreloadedProgram.h"
#include "sim/cli/SimulatedNode.h"
#include "sim/cli/SocketFolder.h"
#include "sim/cli/UserMistake.h"

#include <iostream>

namespace Sim
{

int execVerb(const MachineOptions& options, const std::vector<std::string>& words)
{
    if (words.empty())
        throw UserMistake("exec needs a command after --, as in: trx-bmcsim exec -- ipmitool sensor list");
    SimulatedNode node(options);
    const TemporaryFolder folder;
    DeviceSocket socket(node.device, folder.path());
    PreloadedProgram program(words, folder.path());
    runEventLoop({&socket, &program});
    if (const std::string random = node.bmc.faultPosition(); !random.empty())
        std::cerr << "trx-bmcsim: random faults: " << random << '\n';
    return program.status();
}

} // namespace Sim
