// SPDX-License-Identifier: Apache-2.0
// fcntl in place of libc's.
#include "support/FailingFcntl.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace
{
std::atomic<int> left{0}; ///< calls until the one that fails
} // namespace

void Support::failFcntl(int nth)
{
    left = nth;
}

/// In place of the C library's in this program.
extern "C" int fcntl(int fd, int command, ...)
{
    std::va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (left > 0 && --left == 0) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}
