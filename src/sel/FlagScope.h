// SPDX-License-Identifier: Apache-2.0
// A flag that is set for a block.
#pragma once

#include <utility>

namespace Ipmi
{

/// Sets a flag; afterwards it is as it was.
class FlagScope
{
public:
    explicit FlagScope(bool& flag) : flag_(flag), before_(std::exchange(flag, true)) {}
    ~FlagScope() { flag_ = before_; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

private:
    bool& flag_;
    bool before_;
};

} // namespace Ipmi
