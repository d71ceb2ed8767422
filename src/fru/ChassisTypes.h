// SPDX-License-Identifier: Apache-2.0
// Names of the kinds of chassis, which the FRU standard takes from SMBIOS.
#pragma once

namespace Ipmi
{

/// For callers who know the texts: "Unknown" from 37 on.
const char* chassisTypeText(unsigned int type);
/// As SMBIOS spells it; null for types without a name.
const char* chassisTypeName(unsigned int type);

} // namespace Ipmi
