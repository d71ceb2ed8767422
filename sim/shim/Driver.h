// SPDX-License-Identifier: Apache-2.0
// The requests of the Linux IPMI driver, for a descriptor that is a simulated device.
#pragma once

#include "sim/shim/Slots.h"

namespace Sim::Shim
{

/// As ioctl(2) on /dev/ipmi<N>: 0 or an errno.
int handleRequest(Slot& slot, int fd, unsigned int request, void* argument);

/// True when the request only moved something to the driver that may be served now.
bool sends(unsigned int request);

/// False: the range is not this process's memory.
bool isMemory(const void* start, std::size_t size);

} // namespace Sim::Shim
