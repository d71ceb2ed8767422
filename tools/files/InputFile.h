// SPDX-License-Identifier: Apache-2.0
// The content of a file that the user named.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Tool
{

/// All of it; a pipe will do. Throws Failure when it cannot be read or has more than `most` bytes.
std::vector<std::uint8_t> readFile(const std::string& path, std::size_t most);

} // namespace Tool
