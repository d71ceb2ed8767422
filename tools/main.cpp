// trx-ipmi: looks at a server's BMC from the command line.
#include "CommandLine.h"
#include "Failure.h"
#include "Simulation.h"
#include "Terminal.h"
#include "ipmi/CmpiStatus.h"

#include <exception>
#include <fmt/format.h>
#include <string>

namespace Tool
{

namespace
{

int give(const std::string& line, int exitStatus)
{
    complain(line);
    return exitStatus;
}

int run(int argc, char** argv)
{
    const auto line = commandLineFrom(argc, argv);
    if (!line)
        return kExitFine;
    const Options& options = line->options;
    if (!line->run)
        throw Failure("no verb: give sensors, entities, info, raw, sdr list, sdr dump, sel or monitor (trx-ipmi --help "
                      "shows how)");
    if (!options.machine.empty() && options.node != 0)
        throw Failure("--sim simulates node 0 only: leave --node out");
    if (!options.machine.empty())
        runOnSimulator(options.machine, argc, argv);
    return line->run(options);
}

} // namespace

} // namespace Tool

int main(int argc, char** argv)
{
    try {
        return Tool::run(argc, argv);
    } catch (const Tool::Failure& failure) {
        return Tool::give(failure.what(), failure.exitStatus());
    } catch (const Ipmi::CmpiStatus& status) {
        return Tool::give(
            fmt::format("the library gave up with code {}; the system log says why", static_cast<int>(status.rc())),
            Tool::kExitMistake);
    } catch (const std::exception& error) {
        return Tool::give(error.what(), Tool::kExitMistake);
    }
}
