// SPDX-License-Identifier: Apache-2.0
// trx-bench: what the library costs, on a simulated device. Options are Google Benchmark's (--help).
#include "Summary.h"

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    Bench::Summary summary;
    benchmark::RunSpecifiedBenchmarks(&summary);
    summary.print();
    return 0;
}
