// SPDX-License-Identifier: Apache-2.0
// Replies: making, reusing and freeing their records. IpmiIfcRespDel is public.
#pragma once

#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

/// A zero-filled reply in `out`, which the caller owns. @return 0; -1 for null or without memory
int IpmiIfcRespNew(ipmiifc_resp** out);
/// Frees the copies of a request that a reply owns. @return 0; -1 for null
int IpmiIfcRespReuse(ipmiifc_resp* r);

} // namespace Ipmi
