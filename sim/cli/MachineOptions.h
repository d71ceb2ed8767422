// SPDX-License-Identifier: Apache-2.0
// The options that say which machine is simulated and how it behaves.
#pragma once

#include "sim/machine/Machine.h"

#include <string>
#include <vector>

namespace Sim
{

struct MachineOptions {
    std::string machine; ///< name or file; empty: raw files, or the sample machine
    std::string sdr;
    std::string readings;
    std::vector<std::string> fru; ///< N=FILE, N@ADDRESS=FILE
    std::string sel;
    std::string faults;
    unsigned int latency = 0;     ///< milliseconds
    unsigned int ipmbTimeout = 0; ///< milliseconds; 0: the driver's own tries

    /// Throws BadFile or UserMistake.
    Machine makeMachine() const;
};

} // namespace Sim
