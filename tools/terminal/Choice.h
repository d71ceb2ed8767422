// SPDX-License-Identifier: Apache-2.0
// What the user names among the things that there are.
#pragma once

#include <string>
#include <vector>

namespace Tool
{

/// In any case, as a whole.
bool isSameName(const std::string& a, const std::string& b);

/// Throws Failure, which names the things that there are.
/// @param what  what they are: "entity"
[[noreturn]] void nothingFits(const char* what, const std::string& wanted, const std::vector<std::string>& known);

} // namespace Tool
