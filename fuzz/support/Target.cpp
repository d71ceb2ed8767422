// SPDX-License-Identifier: Apache-2.0
// What libFuzzer calls in every target. The library's log lines go nowhere.
#include "base/Log.h"
#include "sim/machine/MachineFile.h"
#include "support/Fuzz.h"

#include <cstring>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    TRX::setLogSink([](int, const char*) {});
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        Fuzz::use({data, size});
    } catch (const Sim::BadFile& error) {
        Fuzz::demand(std::strchr(error.what(), '\n') == nullptr, "a complaint of one line");
    }
    return 0;
}
