// trx-bmcsim: a simulated BMC for programs that want one.
#include "sim/RawFiles.h"
#include "sim/cli/CtlVerb.h"
#include "sim/cli/ExecVerb.h"
#include "sim/cli/Failure.h"
#include "sim/cli/ServeVerb.h"

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

constexpr const char* kServeExamples = R"text(Examples:
  trx-bmcsim serve & sleep 1; eval "$(trx-bmcsim env)"; ipmitool sensor list
  trx-bmcsim serve --machine sample --vm 9102

Serves until SIGINT or SIGTERM. With --vm, QEMU reaches the same BMC:
  -chardev socket,id=c0,host=127.0.0.1,port=PORT,reconnect=1
  -device ipmi-bmc-extern,id=bmc0,chardev=c0 -device isa-ipmi-kcs,bmc=bmc0,irq=5)text";

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

/// The verbs, and what the command line gives them.
class Verbs
{
public:
    explicit Verbs(CLI::App& app)
        : exec_(*app.add_subcommand("exec", "Runs a command with a simulated BMC: exec [OPTIONS] -- COMMAND [ARG...]")),
          serve_(*app.add_subcommand("serve", "Serves any program, until it is ended")),
          env_(*app.add_subcommand("env", "Prints what a shell exports to use a simulator that serves")), ctl_(app),
          sdr_(*app.add_subcommand("sdr", "Writes a machine's SDR repository to a file"))
    {
        app.add_subcommand("machines", "Lists the built-in machines");
        options_.addTo(exec_);
        exec_.footer(kExecExamples);
        serving_.machine.addTo(serve_);
        serve_.add_option("--vm", serving_.vmPort, "Serves QEMU's external BMC device too; 0: at any free port")
            ->type_name("PORT");
        serve_.footer(kServeExamples);
        for (CLI::App* verb : {&serve_, &env_})
            verb->add_option("--socket", serving_.folder, "Where the sockets are (default: a place of this user)")
                ->type_name("FOLDER");
        sdr_.add_option("--machine", options_.machine, "A built-in machine or a JSON file")->type_name("NAME|FILE");
        sdr_.add_option("FILE", sdrFile_, "Where to write it")->required();
    }

    int run(const std::vector<std::string>& command) const
    {
        if (exec_.parsed())
            return execVerb(options_, command);
        if (serve_.parsed())
            serveVerb(serving_);
        else if (env_.parsed())
            envVerb(serving_.folder);
        else if (ctl_.parsed())
            ctl_.run();
        else if (sdr_.parsed())
            sdrVerb(options_, sdrFile_);
        else
            machinesVerb();
        return 0;
    }

private:
    CLI::App &exec_, &serve_, &env_;
    CtlVerb ctl_;
    CLI::App& sdr_;
    MachineOptions options_;
    ServeOptions serving_;
    std::string sdrFile_;
};

/// What comes before the first "--" is ours, the rest is the command, whatever it looks like.
int run(int argc, char** argv)
{
    char** end = std::find_if(argv, argv + argc, [](const char* word) { return std::strcmp(word, "--") == 0; });
    const std::vector<std::string> command(std::min(end + 1, argv + argc), argv + argc);

    CLI::App app("A simulated BMC on /dev/ipmi0 of unmodified programs", "trx-bmcsim");
    app.set_version_flag("--version", "trx-bmcsim " TRX_IPMI_VERSION);
    app.require_subcommand(1);
    const Verbs verbs(app);
    try {
        app.parse(static_cast<int>(end - argv), argv);
    } catch (const CLI::Success& asked) {
        return app.exit(asked);
    } catch (const CLI::ParseError& error) {
        throw Failure(std::string(error.what()) + "; see trx-bmcsim --help");
    }
    return verbs.run(command);
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
