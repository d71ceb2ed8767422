// SPDX-License-Identifier: Apache-2.0
// Opening and closing a node's device, and the settings made once after that. IpmiIfcOpenIpmiOpen is public.
#pragma once

namespace Ipmi
{

void IpmiIfcOpenIpmiClose(int node);
/// Closes the device and opens it again; a failure is logged and leaves it closed.
void ReopenPort(int node);
/// Gives the driver the timing that CIM_IPMI_RETRIES and CIM_IPMI_RETRY_TIME name, if any.
void IpmiIfcSetTimingParms(int node);
/// @return 0; -1 when the driver refuses the node's own address
int IpmiIfcOpenIpmiAddressSet(int node);
/// @param enable  in: whether the node hears of asynchronous events. @return the driver's result; -1 on failure
int IpmiIfcOpenIpmiEventEnable(int node, int* enable);

} // namespace Ipmi
