// SPDX-License-Identifier: Apache-2.0
// What ends the program early: one line for the user and an exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace Tool
{

inline constexpr int kExitFine = 0;
inline constexpr int kExitRefused = 1; ///< the BMC answered a raw command with a completion code
inline constexpr int kExitMistake = 2; ///< arguments, files, device, root, or a BMC that does not answer

/// Thrown where the program cannot go on; what() says in one line what is wrong and what to do.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string& line, int exitStatus = kExitMistake)
        : std::runtime_error(line), exitStatus_(exitStatus)
    {
    }
    int exitStatus() const { return exitStatus_; }

private:
    int exitStatus_;
};

} // namespace Tool
