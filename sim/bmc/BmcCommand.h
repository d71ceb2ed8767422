// SPDX-License-Identifier: Apache-2.0
// A command that a simulated controller knows: its lengths and its handler.
#pragma once

#include "sim/bmc/BmcState.h"
#include "sim/bus/CompletionCode.h"
#include "sim/bus/Message.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace Sim
{

using Handler = Bytes (*)(BmcState& state, const Request& request);

struct BmcCommand {
    std::uint8_t netfn;
    std::uint8_t cmd;
    std::size_t shortest; ///< request data bytes
    std::size_t longest;
    Handler handler;
    bool everywhere = false; ///< satellites and sensor owners know it too, at each LUN
};

// One table per area of IPMI 2.0.
std::span<const BmcCommand> appCommands();
std::span<const BmcCommand> chassisCommands();
std::span<const BmcCommand> sensorCommands();
std::span<const BmcCommand> sdrCommands();
std::span<const BmcCommand> selCommands();
std::span<const BmcCommand> eventCommands();
std::span<const BmcCommand> fruCommands();
std::span<const BmcCommand> lanCommands();

} // namespace Sim
