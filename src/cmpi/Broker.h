// SPDX-License-Identifier: Apache-2.0
// Whom the library asks for date-times: the CIM broker that the embedding provider handed over, or its own small one.
#pragma once

#include "ipmi/CmpiTypes.h"

namespace Ipmi
{

/// The broker in use; never null.
const _CMPIBroker* broker();

/// The library's own: makes date-times only. Each thread keeps its last 64; clones live until they are released.
const _CMPIBroker* ownBroker();

} // namespace Ipmi
