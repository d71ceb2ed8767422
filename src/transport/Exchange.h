// SPDX-License-Identifier: Apache-2.0
// One exchange with a node's device.
#pragma once

#include "ipmi/IpmiRecords.h"
#include "transport/DriverAddress.h"

#include <array>
#include <cstdint>

namespace Ipmi
{

/// What one exchange brought.
struct Exchanged {
    enum class End {
        kAnswered,
        kNotAnswered, ///< the command could not be sent, or nothing came back in time
        kRefused,     ///< nothing was sent, or waited for any longer: the device is closed, or the node shuts down
        kUnusable     ///< what came back could not be received, or was an event
    };
    End end = End::kRefused;
    std::int32_t length = 0;                      ///< bytes received, as the driver says
    std::array<std::uint8_t, kAnswerRoom> data{}; ///< completion code first; EFh behind what was received
    DriverAddress address{};                      ///< where the command went
};

/// Sends `req` and waits for its answer, under the node's ioLock, at most 30 s.
/// @param node  0..3
Exchanged exchange(int node, const ipmiifc_req& req);

} // namespace Ipmi
