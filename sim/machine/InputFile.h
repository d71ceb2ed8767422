// SPDX-License-Identifier: Apache-2.0
// Files that a user gives.
#pragma once

#include "sim/bus/Bytes.h"

#include <stdexcept>
#include <string>

namespace Sim
{

/// A file or description that cannot be used; what() is one line that names the file and what is wrong in it.
class BadFile : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

/// Whole file as bytes, at most `limit`. Throws BadFile with the system's reason.
Bytes readFile(const std::string& path, std::size_t limit = 4U << 20);

} // namespace Sim
