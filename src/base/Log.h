// SPDX-License-Identifier: Apache-2.0
// Logging to syslog, with a seam for tests.
#pragma once

#include <syslog.h>

namespace TRX
{

/// Logs one printf-style line at a syslog priority. `%m` is errno's text, as in syslog(3). Any thread.
void log(int priority, const char* format, ...) __attribute__((format(printf, 2, 3)));

using LogSink = void (*)(int priority, const char* text);

/// Sends lines to `sink` instead of syslog; null restores syslog.
void setLogSink(LogSink sink);

} // namespace TRX
