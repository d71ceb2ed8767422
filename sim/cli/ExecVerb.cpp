#include "sim/cli/ExecVerb.h"

#include "sim/cli/Command.h"
#include "sim/cli/Failure.h"
#include "sim/cli/SocketFolder.h"
#include "sim/device/Device.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <chrono>

namespace Sim
{

namespace
{

using std::chrono::milliseconds;

milliseconds now()
{
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

/// For poll(): until the device has something to do by itself.
int timeout(const Device& device)
{
    constexpr long kOneMinute = 60'000;
    const auto due = device.nextDue();
    return due ? static_cast<int>(std::clamp<long>((*due - now()).count(), 0, kOneMinute)) : -1;
}

void acceptUsers(const SocketFolder& folder, Device& device)
{
    for (int fd; (fd = ::accept4(folder.listener(), nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
        device.adopt(fd);
}

void serve(Device& device, const SocketFolder& folder, Command& command)
{
    std::vector<pollfd> waiting;
    do {
        waiting = {{command.signalDescriptor(), POLLIN, 0}, {folder.listener(), POLLIN, 0}};
        for (const int fd : device.descriptors())
            waiting.push_back({fd, POLLIN, 0});
        ::poll(waiting.data(), waiting.size(), timeout(device));
        acceptUsers(folder, device);
        device.pump();
    } while (waiting[0].revents == 0 || command.handleSignals());
}

} // namespace

int execVerb(const MachineOptions& options, const std::vector<std::string>& words)
{
    if (words.empty())
        throw Failure("exec needs a command after --, as in: trx-bmcsim exec -- ipmitool sensor list");
    FaultPlan faults = options.faults.empty() ? FaultPlan() : loadFaultPlan(options.faults);
    Bmc bmc(options.makeMachine());
    Device device(bmc, now);
    device.scanChannels(); // before the faults: they are meant for the command
    bmc.clearCounts();
    bmc.setFaults(std::move(faults));
    bmc.setLatency(milliseconds(options.latency));
    if (options.ipmbTimeout != 0)
        device.setIpmbTiming(0, milliseconds(options.ipmbTimeout));
    const SocketFolder folder;
    Command command(words, folder.path());
    serve(device, folder, command);
    return command.status();
}

} // namespace Sim
