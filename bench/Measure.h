// SPDX-License-Identifier: Apache-2.0
// Clocks and counts that measurements share.
#pragma once

#include <chrono>
#include <cstddef>
#include <ctime>
#include <vector>

namespace Bench
{

using Timepoint = std::chrono::steady_clock::time_point;

double microsecondsSince(Timepoint start);
/// Microseconds of processor time that this thread has used, or the one with this clock (pthread_getcpuclockid).
double processorTime(clockid_t clock = CLOCK_THREAD_CPUTIME_ID);
/// The value that so much of them (0 to less than 1) lie below, of at least one.
double quantile(std::vector<double>& values, double part);
double median(std::vector<double>& values);
/// Bytes that the allocator has handed out.
std::size_t heapInUse();

} // namespace Bench
