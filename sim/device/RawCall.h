// SPDX-License-Identifier: Apache-2.0
// System calls past libc: its functions may be the shim's own, and sanitizers see an order between threads in them that
// a device does not give.
#pragma once

#include <type_traits>
#include <unistd.h>

namespace Sim
{

template <typename T> [[gnu::always_inline]] inline long wholeRegister(T argument)
{
    if constexpr (std::is_pointer_v<T>)
        return reinterpret_cast<long>(argument);
    else
        return static_cast<long>(argument);
}

/// As syscall(2). Every argument fills its register or its place on the stack: of narrower ones the rest is undefined.
/// Always inline, so that the shim never runs a copy that was built with instrumentation.
template <typename... Arguments> [[gnu::always_inline]] inline long rawCall(long number, Arguments... arguments)
{
    return ::syscall(number, wholeRegister(arguments)...);
}

} // namespace Sim
