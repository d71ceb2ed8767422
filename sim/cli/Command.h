// A program that is run with the device shim in it.
#pragma once

#include <csignal>
#include <string>
#include <sys/types.h>
#include <vector>

namespace Sim
{

/// Where the library to preload is: beside this program or installed. Throws Failure.
std::string shimLibrary();

/// Runs while it lives; signals and its end arrive at a descriptor.
class Command
{
public:
    /// Starts `words` (a program to be found on PATH, and its arguments) on the devices in `folder`. Blocks the signals
    /// that it forwards, in this process. Throws Failure.
    Command(const std::vector<std::string>& words, const std::string& folder);
    ~Command();
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// Readable when signals() has something to do.
    int signalDescriptor() const { return signals_; }
    /// Forwards signals. False once the program has ended.
    bool handleSignals();
    /// The program's exit status, or 128 + the signal that killed it.
    int status() const;

private:
    int signals_ = -1;
    sigset_t maskBefore_{};
    pid_t pid_ = -1;
    int waitStatus_ = 0;
};

} // namespace Sim
