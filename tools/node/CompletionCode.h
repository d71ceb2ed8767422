// SPDX-License-Identifier: Apache-2.0
// Words for IPMI completion codes.
#pragma once

#include <cstdint>
#include <string>

namespace Tool
{

/// "completion code 0xc1, invalid command".
std::string completionCodeText(std::uint8_t code);
/// "invalid command" (IPMI 2.0, table 5-2).
std::string completionCodeName(std::uint8_t code);

} // namespace Tool
