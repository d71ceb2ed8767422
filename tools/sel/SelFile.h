// SPDX-License-Identifier: Apache-2.0
// A saved event log: records of 16 bytes one after another.
#pragma once

#include "sel/SelView.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Tool
{

std::vector<std::uint8_t> selFileContent(const SelRecords& records);

/// Throws Failure when it cannot be read, or is no saved log.
SelRecords readSelFile(const std::string& path);

} // namespace Tool
