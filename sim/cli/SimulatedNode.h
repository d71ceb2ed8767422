// SPDX-License-Identifier: Apache-2.0
// What the options describe: a BMC and the driver in front of it.
#pragma once

#include "sim/bmc/Bmc.h"
#include "sim/cli/MachineOptions.h"
#include "sim/device/Device.h"
#include "sim/loop/EventLoop.h"
#include "sim/loop/Listener.h"

#include <string>

namespace Sim
{

struct SimulatedNode {
    /// Throws BadFile or UserMistake.
    explicit SimulatedNode(const MachineOptions& options);

    Bmc bmc;
    Device device;
};

/// The socket that preloaded programs open as /dev/ipmi0.
class DeviceSocket final : public Served
{
public:
    /// Listens in `folder`. Throws std::runtime_error.
    DeviceSocket(Device& device, const std::string& folder);

    void addTo(std::vector<pollfd>& waiting) const override;
    std::optional<std::chrono::milliseconds> nextDue() const override { return device_.nextDue(); }
    bool serve() override;

private:
    Device& device_;
    Listener listener_;
};

} // namespace Sim
