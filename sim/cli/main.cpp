// SPDX-License-Identifier: Apache-2.0
// trx-bmcsim: a simulated BMC for programs that want one.
#include "sim/cli/CommandLine.h"
#include "sim/cli/ExecVerb.h"
#include "sim/cli/UserMistake.h"
#include "sim/machine/MachineFile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace
{

using namespace Sim;

void sdrVerb(const MachineOptions& options, const std::string& path)
{
    const Bytes bytes = sdrBytes(options.makeMachine());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw UserMistake("cannot write " + path + ": " + std::strerror(errno));
}

void machinesVerb()
{
    for (const std::string& name : builtinMachines())
        std::cout << name << '\n';
}

int run(const CommandLine& line)
{
    if (line.verb == "exec")
        return execVerb(line.machine, line.program);
    if (line.verb == "serve")
        serveVerb(line.serve);
    else if (line.verb == "env")
        envVerb(line.serve.folder);
    else if (line.verb == "ctl")
        ctlVerb(line.ctl);
    else if (line.verb == "sdr")
        sdrVerb(line.machine, line.sdrFile);
    else
        machinesVerb();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        const auto line = parseCommandLine(argc, argv);
        return line ? run(*line) : 0;
    } catch (const std::exception& error) {
        std::string message = error.what();
        std::replace(message.begin(), message.end(), '\n', ' ');
        std::cerr << "trx-bmcsim: " << message << '\n';
        return kUserMistake;
    }
}
