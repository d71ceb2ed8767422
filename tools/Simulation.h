// --sim: the same program again, with a simulated BMC behind the device.
#pragma once

#include <string>

namespace Tool
{

/// Replaces this process by trx-bmcsim, which runs the same command line without --sim. Throws Failure when there is no
/// trx-bmcsim; does not return otherwise.
[[noreturn]] void runOnSimulator(const std::string& machine, int argc, char** argv);

} // namespace Tool
