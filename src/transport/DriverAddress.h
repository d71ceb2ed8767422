// SPDX-License-Identifier: Apache-2.0
// The destination of a command in the driver's form.
#pragma once

#include <array>
#include <cstdint>

namespace Ipmi
{

/// Bytes of both kinds of address that are sent to: the BMC's system interface, and IPMB.
inline constexpr unsigned int kAddressLength = 8;
using DriverAddress = std::array<std::uint8_t, kAddressLength>;

} // namespace Ipmi
