// SPDX-License-Identifier: Apache-2.0
// What the user can put right: one line on stderr, exit status 2.
#pragma once

#include <stdexcept>

namespace Sim
{

class UserMistake : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

inline constexpr int kUserMistake = 2;

} // namespace Sim
