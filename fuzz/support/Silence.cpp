// The library's log lines go nowhere.
#include "base/Log.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    TRX::setLogSink([](int, const char*) {});
    return 0;
}
