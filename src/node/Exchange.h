// One exchange with a node's device.
#pragma once

#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

/// Sends `req` and waits for its answer, under the node's ioLock, at most 30 s.
/// @param node      0..3
/// @param flags     bit 0: copy the request into the reply
/// @param supplied  a record to reuse, or null to have one made
/// @param freed     out: true when the result is null and `supplied` has been freed
/// @return the reply, or null
ipmiifc_resp* exchange(int node, const ipmiifc_req& req, int flags, ipmiifc_resp* supplied, bool& freed);

} // namespace Ipmi
