// SPDX-License-Identifier: Apache-2.0
// A message on an IPMB, as Send Message and Get Message carry it: Intelligent Platform Management Bus 1.0, 2.11.
#pragma once

#include "sim/bus/Bytes.h"

#include <cstdint>
#include <optional>
#include <span>

namespace Sim
{

/// What is sent to this LUN of the BMC goes into the queue of its system interface.
inline constexpr std::uint8_t kSystemSoftwareLun = 2;

/// A request from the BMC's software to a controller, or the controller's response.
struct IpmbFrame {
    std::uint8_t to = 0; ///< slave address
    std::uint8_t toLun = 0;
    std::uint8_t from = 0;
    std::uint8_t fromLun = 0;
    std::uint8_t netfn = 0;
    std::uint8_t sequence = 0; ///< 0..63
    std::uint8_t cmd = 0;
    Bytes data;         ///< of a response: completion code first
    bool intact = true; ///< of a frame read: both checksums were right

    /// As on the bus: the address that it goes to first, checksums in their places.
    Bytes bytes() const;
    /// The response that answers this request.
    IpmbFrame response(Bytes answer) const;
};

/// The frame in these bytes; nullopt when they are too few.
std::optional<IpmbFrame> readIpmbFrame(std::span<const std::uint8_t> bytes);

} // namespace Sim
