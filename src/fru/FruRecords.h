// SPDX-License-Identifier: Apache-2.0
// Records of the multi-record area in physical units.
#pragma once

#include "fru/FruFields.h"

namespace Ipmi
{

/// The standard's name of a type of records; "OEM" from C0h on, "Reserved" for the others without a name.
const char* fruRecordName(unsigned int type);

/// The fields of a record's data. What was cut off has no field; data past those that its type has are "Data".
std::vector<IpmiFruField> fruRecordFields(unsigned int type, FruBytes data);

} // namespace Ipmi
