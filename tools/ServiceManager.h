// What systemd is told where it runs the program (Type=notify); elsewhere nothing.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>

namespace Tool
{

/// Any thread.
class ServiceManager
{
public:
    /// @param parts  how many must be ready before the service is
    explicit ServiceManager(std::size_t parts) : missing_(parts) {}

    /// Once for each part.
    void partReady();
    static void status(const std::string& line);
    static void stopping(const std::string& reason);

private:
    std::atomic<std::size_t> missing_;
};

} // namespace Tool
