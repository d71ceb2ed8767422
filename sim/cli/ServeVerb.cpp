// SPDX-License-Identifier: Apache-2.0
// Everybody that a serving simulator serves, in one loop.
#include "sim/cli/ServeVerb.h"

#include "sim/bus/SystemInterface.h"
#include "sim/cli/PreloadedProgram.h"
#include "sim/cli/SimulatedNode.h"
#include "sim/cli/SocketFolder.h"
#include "sim/control/ControlServer.h"
#include "sim/loop/Signals.h"
#include "sim/vm/VmServer.h"

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <iostream>

namespace Sim
{

namespace
{

class Stop final : public Served
{
public:
    void addTo(std::vector<pollfd>& waiting) const override { signals_.addTo(waiting); }
    bool serve() override { return !signals_.next(); }

private:
    Signals signals_{SIGINT, SIGTERM, SIGHUP};
};

/// A virtual machine's BMC; nothing when none is wanted.
class VmDoor final : public Served
{
public:
    VmDoor(Bmc& bmc, std::optional<std::uint16_t> port) : interface_(bmc, now)
    {
        if (port)
            server_.emplace(interface_, now, *port);
    }

    std::uint16_t port() const { return server_ ? server_->port() : std::uint16_t{0}; }
    void addTo(std::vector<pollfd>& waiting) const override
    {
        if (server_)
            server_->addTo(waiting);
    }
    std::optional<std::chrono::milliseconds> nextDue() const override
    {
        return server_ ? server_->nextDue() : std::nullopt;
    }
    bool serve() override { return !server_ || server_->serve(); }

private:
    SystemInterface interface_;
    std::optional<VmServer> server_;
};

/// For a POSIX shell, as one word.
std::string quoted(const std::string& text)
{
    std::string word = "'";
    for (const char c : text)
        word += c == '\'' ? "'\\''" : std::string(1, c);
    return word + "'";
}

std::string servingFolder(const std::string& given)
{
    return given.empty() ? usualFolder() : std::filesystem::absolute(given).lexically_normal().string();
}

void sayReady(const ServeOptions& options, const std::string& folder, std::uint16_t port)
{
    std::cout << "ready: eval \"$(trx-bmcsim env" << (options.folder.empty() ? "" : " --socket " + quoted(folder))
              << ")\" and run programs";
    if (options.vmPort)
        std::cout << "; VM protocol on 127.0.0.1:" << port;
    std::cout << std::endl;
}

} // namespace

void serveVerb(const ServeOptions& options)
{
    SimulatedNode node(options.machine);
    ::umask(0077);
    const ServingFolder folder(servingFolder(options.folder));
    DeviceSocket device(node.device, folder.path());
    ControlServer control(node.bmc, folder.path() + kControlSocket);
    VmDoor vm(node.bmc, options.vmPort);
    Stop stop;
    sayReady(options, folder.path(), vm.port());
    runEventLoop({&device, &control, &vm, &stop});
}

void envVerb(const std::string& folder)
{
    const char* already = std::getenv("LD_PRELOAD");
    const std::string preload = withShim(already ? already : ""),
                      place = servingFolder(folder); // or nothing is printed
    std::cout << "export LD_PRELOAD=" << quoted(preload) << " TRX_BMCSIM_DIR=" << quoted(place) << '\n';
}

} // namespace Sim
