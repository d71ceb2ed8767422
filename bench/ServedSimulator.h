// SPDX-License-Identifier: Apache-2.0
// A simulator of its own process, which counts what each of its users asks.
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <string>
#include <utility>

namespace Bench
{

/// While it lives (one at a time, no SimDevice beside it) every /dev/ipmi0 of this process is the simulator's.
class ServedSimulator
{
public:
    using Counts = std::map<std::pair<std::uint8_t, std::uint8_t>, double>; ///< by netfn and cmd

    /// @param options  of `trx-bmcsim serve`. Ends the program with a line when it does not serve.
    explicit ServedSimulator(const std::string& options);
    ~ServedSimulator();
    ServedSimulator(const ServedSimulator&) = delete;
    ServedSimulator& operator=(const ServedSimulator&) = delete;

    /// Runs it on the simulator. @return true when its output has this text
    bool run(const std::string& line, const std::string& wanted) const;
    /// The commands since this was last asked for.
    Counts takeCounts() const;

private:
    char folder_[32] = "/tmp/trx-bench-XXXXXX";
    std::FILE* output_ = nullptr;
    int pid_ = -1;
};

} // namespace Bench
