// SPDX-License-Identifier: Apache-2.0
// The Linux IPMI driver as this library uses it: the one place that calls ioctl.
#pragma once

#include "transport/DriverAddress.h"

#include <linux/ipmi.h>
#include <sys/ioctl.h>

namespace Ipmi
{

/// ioctl with an argument. @return the driver's result; -1 with errno set on failure
template <typename T> int driverRequest(int fd, unsigned long request, T& argument)
{
    return ioctl(fd, request, &argument);
}

static_assert(sizeof(ipmi_system_interface_addr) == kAddressLength && sizeof(ipmi_ipmb_addr) == kAddressLength);

} // namespace Ipmi
