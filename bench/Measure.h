// Clocks and counts that measurements share.
#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

namespace Bench
{

using Timepoint = std::chrono::steady_clock::time_point;

double microsecondsSince(Timepoint start);
/// Microseconds of processor time that this thread has used.
double processorTime();
/// Of at least one value.
double median(std::vector<double>& values);
/// Bytes that the allocator has handed out.
std::size_t heapInUse();

} // namespace Bench
