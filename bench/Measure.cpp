// SPDX-License-Identifier: Apache-2.0
// Reading clocks, quantiles, and what the allocator has handed out.
#include "Measure.h"

#include <algorithm>
#include <malloc.h>

namespace Bench
{

double microsecondsSince(Timepoint start)
{
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start).count();
}

double processorTime(clockid_t clock)
{
    timespec used{};
    clock_gettime(clock, &used);
    return static_cast<double>(used.tv_sec) * 1e6 + static_cast<double>(used.tv_nsec) / 1e3;
}

double quantile(std::vector<double>& values, double part)
{
    const auto count = static_cast<double>(values.size());
    const auto at = values.begin() + static_cast<std::ptrdiff_t>(count * part);
    std::nth_element(values.begin(), at, values.end());
    return *at;
}

double median(std::vector<double>& values)
{
    return quantile(values, 0.5);
}

std::size_t heapInUse()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

} // namespace Bench
