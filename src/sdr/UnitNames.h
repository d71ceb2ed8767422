// SPDX-License-Identifier: Apache-2.0
// Words for sensor units (IPMI 2.0, table 43-15).
#pragma once

namespace Ipmi
{

/// Name of a unit type code; empty for codes beyond the table.
const char* unitName(unsigned int code);

} // namespace Ipmi
