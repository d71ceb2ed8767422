// SPDX-License-Identifier: Apache-2.0
// Setting up a BMC and its driver, and taking users from a socket.
#include "sim/cli/SimulatedNode.h"

#include "sim/cli/SocketFolder.h"

#include <sys/socket.h>

namespace Sim
{

using std::chrono::milliseconds;

SimulatedNode::SimulatedNode(const MachineOptions& options) : bmc(options.makeMachine()), device(bmc, now)
{
    FaultPlan faults = options.faults.empty() ? FaultPlan() : loadFaultPlan(options.faults);
    device.scanChannels(); // before the faults: they are meant for the users
    bmc.clearCounts();
    bmc.setFaults(std::move(faults));
    bmc.setLatency(milliseconds(options.latency));
    if (options.ipmbTimeout != 0)
        device.setIpmbTiming(0, milliseconds(options.ipmbTimeout));
}

DeviceSocket::DeviceSocket(Device& device, const std::string& folder)
    : device_(device), listener_(folder + kDeviceSocket, SOCK_SEQPACKET)
{
}

void DeviceSocket::addTo(std::vector<pollfd>& waiting) const
{
    waiting.push_back({listener_.descriptor(), POLLIN, 0});
    for (const int fd : device_.descriptors())
        waiting.push_back({fd, POLLIN, 0});
}

bool DeviceSocket::serve()
{
    while (Descriptor user = listener_.accept(0))
        device_.adopt(user.release());
    device_.pump();
    return true;
}

} // namespace Sim
