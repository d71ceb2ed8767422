#include "support/FailingNew.h"

#include <atomic>
#include <new>

namespace
{

std::atomic<int> allocationsLeft{-1}; ///< until the one that fails; below 0: none does

bool fails()
{
    return allocationsLeft.load() >= 0 && allocationsLeft.fetch_sub(1) == 0;
}

} // namespace

void* operator new(std::size_t size, const std::nothrow_t&) noexcept
{
    return fails() ? nullptr : ::operator new(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept
{
    return fails() ? nullptr : ::operator new[](size);
}

namespace Support
{

FailingNew::FailingNew(int nth)
{
    allocationsLeft = nth - 1;
}

FailingNew::~FailingNew()
{
    allocationsLeft = -1;
}

bool FailingNew::failed() const
{
    return allocationsLeft.load() < 0;
}

} // namespace Support
