// SPDX-License-Identifier: Apache-2.0
// BMC identity: what the one-shot start-up commands ask, and what their answers are kept as.
#pragma once

#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

/// Sends the first `count` entries of the one-shot command list to node 0 and hands each answer to its handler. @return
/// 0
int IpmiIfcDataGet(int count);

// Answer handlers. Each keeps a good answer in the record of the node that it names. @return 0; the completion code;
// -1 for no answer, a node outside 0..3, or an answer too short to say anything

int IpmiIfcRhGetDeviceId(ipmiifc_resp* resp);
int IpmiIfcRhGetOS_Name(ipmiifc_resp* resp);
int IpmiIfcRhGetOS_Version(ipmiifc_resp* resp);
int IpmiIfcRhGetSelfTest(ipmiifc_resp* resp);

/// Maker's name for an IANA enterprise number; null when it is not one of the makers known.
const char* manufacturerName(unsigned int enterprise);

} // namespace Ipmi
