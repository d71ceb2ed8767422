// SPDX-License-Identifier: Apache-2.0
// A program that is run with the device shim in it.
#pragma once

#include "sim/loop/EventLoop.h"
#include "sim/loop/Signals.h"

#include <string>
#include <sys/types.h>
#include <vector>

namespace Sim
{

/// Where the library to preload is: beside this program or installed. Throws UserMistake.
std::string shimLibrary();

/// What to preload: `already` (may be empty) and the shim, once. Throws UserMistake.
std::string withShim(const std::string& already);

/// Runs while it lives; its end ends the loop.
class PreloadedProgram final : public Served
{
public:
    /// Starts `words` (a program to be found on PATH, and its arguments) on the devices in `folder`. Blocks the signals
    /// that it forwards, in this process. Throws UserMistake.
    PreloadedProgram(const std::vector<std::string>& words, const std::string& folder);

    void addTo(std::vector<pollfd>& waiting) const override { signals_.addTo(waiting); }
    /// Forwards signals. False once the program has ended.
    bool serve() override;
    /// The program's exit status, or 128 + the signal that killed it.
    int status() const;

private:
    Signals signals_;
    pid_t pid_ = -1;
    int waitStatus_ = 0;
};

} // namespace Sim
