// SPDX-License-Identifier: Apache-2.0
// fcntl in place of libc's.
#include "support/FailingFcntl.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace
{
std::atomic<int> failingCommand{-1}, failingMode{0};
} // namespace

namespace Support
{

void failFcntl(int command, int accessMode)
{
    failingMode = accessMode;
    failingCommand = command;
}

} // namespace Support

/// In place of the C library's in this program.
extern "C" int fcntl(int fd, int command, ...)
{
    std::va_list arguments;
    va_start(arguments, command);
    const long argument = va_arg(arguments, long);
    va_end(arguments);
    if (command == failingCommand && (syscall(SYS_fcntl, fd, F_GETFL) & O_ACCMODE) == failingMode) {
        errno = EINVAL;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fcntl, fd, command, argument));
}
