// SPDX-License-Identifier: Apache-2.0
// What systemd is told where it runs the program (Type=notify); elsewhere nothing.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <systemd/sd-daemon.h>

namespace Tool
{

/// Any thread.
class ServiceManager
{
public:
    /// @param parts  how many must be ready before the service is
    explicit ServiceManager(std::size_t parts) : missing_(parts) {}

    /// Once for each part.
    void partReady()
    {
        if (--missing_ == 0)
            tell("READY=1\nSTATUS=watching");
    }
    static void status(const std::string& line) { tell("STATUS=" + line); }
    static void stopping(const std::string& reason) { tell("STOPPING=1\nSTATUS=" + reason); }

private:
    /// Without systemd, or where it does not listen, it does not matter that it cannot be told.
    static void tell(const std::string& state) { ::sd_notify(0, state.c_str()); }

    std::atomic<std::size_t> missing_;
};

} // namespace Tool
