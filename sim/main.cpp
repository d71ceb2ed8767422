// trx-bmcsim: a simulated BMC for programs that want one.
#include "sim/RawFiles.h"
#include "sim/cli/ExecVerb.h"
#include "sim/cli/Failure.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace
{

using namespace Sim;

constexpr const char* kExecExamples = R"(Examples:
  trx-bmcsim exec -- ipmitool sensor list
  trx-bmcsim exec --sdr sdr.bin --readings readings.txt -- ipmi-sensors --driver-type=openipmi
  trx-bmcsim exec --machine sample --faults faults.json --latency 20 -- trx-ipmi sensors

The command ends with its own status (128 + the signal that killed it). Without any machine or file, the sample machine
is simulated; with files alone, they are the machine.)";

void sdrVerb(const MachineOptions& options, const std::string& path)
{
    const Bytes bytes = sdrBytes(options.makeMachine());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    file.close();
    if (!file)
        throw Failure("cannot write " + path + ": " + std::strerror(errno));
}

void machinesVerb()
{
    for (const std::string& name : builtinMachines())
        std::cout << name << '\n';
}

/// What comes before the first "--" is ours, the rest is the command, whatever it looks like.
int run(int argc, char** argv)
{
    char** end = std::find_if(argv, argv + argc, [](const char* word) { return std::strcmp(word, "--") == 0; });
    const std::vector<std::string> command(std::min(end + 1, argv + argc), argv + argc);

    CLI::App app("A simulated BMC on /dev/ipmi0 of unmodified programs", "trx-bmcsim");
    app.set_version_flag("--version", "trx-bmcsim " TRX_IPMI_VERSION);
    app.require_subcommand(1);
    MachineOptions options;
    CLI::App* exec =
        app.add_subcommand("exec", "Runs a command with a simulated BMC: exec [OPTIONS] -- COMMAND [ARG...]");
    options.addTo(*exec);
    exec->footer(kExecExamples);
    CLI::App* sdr = app.add_subcommand("sdr", "Writes a machine's SDR repository to a file");
    std::string sdrFile;
    sdr->add_option("--machine", options.machine, "A built-in machine or a JSON file")->type_name("NAME|FILE");
    sdr->add_option("FILE", sdrFile, "Where to write it")->required();
    app.add_subcommand("machines", "Lists the built-in machines");
    try {
        app.parse(static_cast<int>(end - argv), argv);
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError& error) {
        throw Failure(std::string(error.what()) + "; see trx-bmcsim --help");
    }
    if (exec->parsed())
        return execVerb(options, command);
    if (sdr->parsed())
        sdrVerb(options, sdrFile);
    else
        machinesVerb();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::string line = error.what();
        std::replace(line.begin(), line.end(), '\n', ' ');
        std::cerr << "trx-bmcsim: " << line << '\n';
        return kUserMistake;
    }
}
