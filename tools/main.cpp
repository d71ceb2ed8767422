// trx-ipmi: looks at a server's BMC from the command line.
#include "Failure.h"
#include "Options.h"
#include "Simulation.h"
#include "Terminal.h"
#include "Verbs.h"
#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiRecords.h"

#include <CLI/CLI.hpp>
#include <exception>
#include <fmt/format.h>
#include <memory>
#include <string>

namespace Tool
{

namespace
{

constexpr const char* kExamples = R"(Examples:
  trx-ipmi sensors                     all sensors of this server (as root)
  trx-ipmi --sim sensors               the same on a simulated server, without any BMC
  trx-ipmi --json sensors              for programs
  trx-ipmi sensors --watch 2           again and again, with a short history
  trx-ipmi sensors --entity 7.1        those of one part of the server; trx-ipmi entities shows the parts
  trx-ipmi --node 1 info               who the second BMC is
  trx-ipmi raw 6 1                     Get Device ID; netfn and command, then data
  trx-ipmi raw 0x04 0x2d 0x01          Get Sensor Reading of sensor 1
  trx-ipmi sdr list                    the repository's records
  trx-ipmi sdr dump sdr.bin            the same, raw, into a file
  trx-ipmi sel --last 20               the newest events of the log; trx-ipmi sel info tells of the log
  trx-ipmi monitor                     a line for each event and each change of a sensor, until Ctrl-C

Exit status: 0 done; 1 the BMC refused a raw command; 2 anything else, with one line that says why.)";

/// CLI11's help in this program's words.
class HelpFormatter : public CLI::Formatter
{
public:
    HelpFormatter()
    {
        label("SUBCOMMAND", "VERB");
        label("REQUIRED", "");
    }
    std::string make_option_name(const CLI::Option* option, bool isPositional) const override
    {
        return option->check_name("--sim") ? "--sim[=MACHINE]" : Formatter::make_option_name(option, isPositional);
    }
};

void describe(CLI::App& app, Options& options)
{
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "trx-ipmi " TRX_IPMI_VERSION);
    app.add_option("--node", options.node, "Which BMC: N is the one behind /dev/ipmiN")
        ->type_name("N")
        ->check(CLI::Range(0, Ipmi::kNodeCount - 1).description(""));
    app.add_flag("--sim{sample}", options.machine, "A simulated BMC: a machine's name or file; without one the sample");
    app.add_flag("--json", options.json, "JSON instead of columns");
    app.require_subcommand(0, 1);
    addSensorsVerb(app, options);
    addEntitiesVerb(app, options);
    addInfoVerb(app, options);
    addRawVerb(app, options);
    addSdrVerb(app, options);
    addSelVerb(app, options);
    addMonitorVerb(app, options);
    app.footer(kExamples); // after the verbs, which would inherit it
}

int give(const std::string& line, int exitStatus)
{
    complain(line);
    return exitStatus;
}

int run(int argc, char** argv)
{
    Options options;
    CLI::App app("Looks at a server's BMC through the Linux IPMI driver.", "trx-ipmi");
    describe(app, options);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0)
            return app.exit(error); // help, version
        return give(std::string(error.what()) + " (trx-ipmi --help shows how)", kExitMistake);
    }
    if (!options.run)
        throw Failure("no verb: give sensors, entities, info, raw, sdr list, sdr dump, sel or monitor (trx-ipmi --help "
                      "shows how)");
    if (!options.machine.empty() && options.node != 0)
        throw Failure("--sim simulates node 0 only: leave --node out");
    if (!options.machine.empty())
        runOnSimulator(options, argc, argv);
    return options.run();
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
