// SPDX-License-Identifier: Apache-2.0
// Words for sensor types and directions.
#pragma once

#include "ipmi/Export.h"

#include <string>

namespace Ipmi
{

/// Name of a sensor type code (IPMI 2.0, table 42-3); "OEM Reserved #xx" beyond the table.
TRX_IPMI_API std::string DescFromType(unsigned char type);

/// Name of a sensor direction code, 0..3; empty for any other.
TRX_IPMI_API std::string DescFromDirection(unsigned char direction);

} // namespace Ipmi
