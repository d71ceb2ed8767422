// SPDX-License-Identifier: Apache-2.0
// Memory that runs out: non-throwing allocations that fail on request.
#pragma once

#include <atomic>

namespace Support
{

/// While it lives, the nth non-throwing allocation of the program fails, counted from now.
class FailingNew
{
public:
    explicit FailingNew(int nth) { left_ = nth - 1; }
    ~FailingNew() { left_ = -1; }
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    /// True once it has failed.
    bool failed() const { return left_ < 0; }
    /// Whether the allocation that is made now does.
    static bool failsNow() { return left_ >= 0 && left_-- == 0; }

private:
    static inline std::atomic<int> left_{-1}; ///< allocations until the one that fails; below 0: none does
};

} // namespace Support
