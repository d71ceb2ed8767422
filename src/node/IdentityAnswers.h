// What is kept of the answers to the identity commands.
#pragma once

#include "node/IpmiNode.h"

namespace Ipmi
{

/// Keeps a good answer in `identity`, which the caller has locked. @return as the answer handlers
using KeepAnswer = int (*)(BmcIdentity& identity, const ipmiifc_resp* resp);

int keepDeviceId(BmcIdentity& identity, const ipmiifc_resp* resp);
int keepOsName(BmcIdentity& identity, const ipmiifc_resp* resp);
int keepOsVersion(BmcIdentity& identity, const ipmiifc_resp* resp);
int keepSelfTest(BmcIdentity& identity, const ipmiifc_resp* resp);

} // namespace Ipmi
