// SPDX-License-Identifier: Apache-2.0
// Log lines on their way to syslog.
#include "base/Log.h"

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>

namespace TRX
{

namespace
{
std::atomic<LogSink> installedSink{nullptr};
constexpr std::size_t kLongestLine = 1024;
} // namespace

void log(int priority, const char* format, ...)
{
    const int savedErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    if (LogSink sink = installedSink.load()) {
        char text[kLongestLine];
        std::vsnprintf(text, sizeof text, format, arguments);
        sink(priority, text);
    } else {
        vsyslog(priority, format, arguments);
    }
    va_end(arguments);
    errno = savedErrno;
}

void setLogSink(LogSink sink)
{
    installedSink.store(sink);
}

} // namespace TRX
