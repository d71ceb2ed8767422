#include "ServiceManager.h"

#include <systemd/sd-daemon.h>

namespace Tool
{

namespace
{

void tell(const std::string& state)
{
    ::sd_notify(0, state.c_str()); // without systemd, or where it does not listen, this does not matter
}

} // namespace

void ServiceManager::partReady()
{
    if (--missing_ == 0)
        tell("READY=1\nSTATUS=watching");
}

void ServiceManager::status(const std::string& line)
{
    tell("STATUS=" + line);
}

void ServiceManager::stopping(const std::string& reason)
{
    tell("STOPPING=1\nSTATUS=" + reason);
}

} // namespace Tool
