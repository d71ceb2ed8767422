// SPDX-License-Identifier: Apache-2.0
// The ways in which callers send commands of their own. Nobody inside the library calls these: it asks
// (transport/Answer.h).
#pragma once

#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

/// One exchange. Returns the reply or null. With a supplied `resp` a null result leaves it with the caller when nothing
/// was received (bad node, device closed, shutdown) and has freed it after a failed receive or an asynchronous event.
/// @param flags  bit 0: copy the request into the reply
ipmiifc_resp* IpmiIfcSendWresponse(int node, ipmiifc_req* req, int flags, ipmiifc_resp* resp);
ipmiifc_resp* IpmiIfcSend(int node, ipmiifc_req* req, int flags);
/// `msgid` is ignored: the id is drawn from the node's counter.
ipmiifc_resp* IpmiIfcSendCmd(int node, unsigned char cmd, unsigned char netfn, long msgid, unsigned short dataLen,
                             unsigned char* data, int flags);

} // namespace Ipmi
