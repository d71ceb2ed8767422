// SPDX-License-Identifier: Apache-2.0
// Non-throwing operator new in place of the runtime's.
#include "support/FailingNew.h"

#include <new>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return Support::FailingNew::failsNow() ? nullptr : ::operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return Support::FailingNew::failsNow() ? nullptr : ::operator new[](size);
}
