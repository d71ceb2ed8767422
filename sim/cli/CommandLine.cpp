// SPDX-License-Identifier: Apache-2.0
// The verbs' options and help texts: the one file that knows the command line's library.
#include "sim/cli/CommandLine.h"

#include "sim/cli/UserMistake.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstring>

namespace Sim
{

namespace
{

constexpr unsigned int kLongestMs = 600'000;

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

constexpr const char* kCtlExamples = R"(Examples:
  trx-bmcsim ctl sensors
  trx-bmcsim ctl set 'CPU Temp' 96.5
  trx-bmcsim ctl set 0x0a --states 0x0002
  trx-bmcsim ctl faults plan.json; trx-bmcsim ctl faults none
  trx-bmcsim ctl counters --clear
  trx-bmcsim ctl event 'CPU Temp' --offset 9 --count 100; trx-bmcsim ctl sel)";

void addMachine(CLI::App& verb, MachineOptions& options)
{
    verb.add_option("--machine", options.machine, "A built-in machine or a JSON file")->type_name("NAME|FILE");
}

void addMachineOptions(CLI::App& verb, MachineOptions& options)
{
    addMachine(verb, options);
    verb.add_option("--sdr", options.sdr, "SDR repository: whole records one after another")->type_name("FILE");
    verb.add_option("--readings", options.readings, "Raw readings and thresholds, as text")->type_name("FILE");
    verb.add_option("--fru", options.fru, "Image of FRU device N, or N@ADDRESS of a satellite; may be given again")
        ->type_name("N=FILE")
        ->allow_extra_args(false);
    verb.add_option("--sel", options.sel, "Event log: 16-byte records")->type_name("FILE");
    verb.add_option("--faults", options.faults, "Fault plan, JSON")->type_name("FILE");
    verb.add_option("--latency", options.latency, "Time that each answer takes")
        ->type_name("MS")
        ->check(CLI::Range(0U, kLongestMs));
    verb.add_option("--ipmb-timeout", options.ipmbTimeout,
                    "How long the driver waits for an absent satellite, without trying again (default: 10 s)")
        ->type_name("MS")
        ->check(CLI::Range(1U, kLongestMs));
}

void addServe(CLI::App& app, ServeOptions& options)
{
    CLI::App* serve = app.add_subcommand("serve", "Serves any program, until it is ended");
    CLI::App* env = app.add_subcommand("env", "Prints what a shell exports to use a simulator that serves");
    addMachineOptions(*serve, options.machine);
    serve->add_option("--vm", options.vmPort, "Serves QEMU's external BMC device too; 0: at any free port")
        ->type_name("PORT");
    serve->footer(kServeExamples);
    for (CLI::App* verb : {serve, env})
        verb->add_option("--socket", options.folder, "Where the sockets are (default: a place of this user)")
            ->type_name("FOLDER");
}

CLI::App* addSet(CLI::App& ctl, CtlOptions& options)
{
    CLI::App* set = ctl.add_subcommand("set", "Sets a sensor's reading");
    set->add_option("SENSOR", options.sensor, "Its name, or NUMBER[@OWNER[/LUN]]")->required();
    set->add_option("VALUE", options.value, "In the sensor's unit");
    set->add_option("--raw", options.raw, "The raw byte")->type_name("N");
    set->add_option("--states", options.states, "States or comparison bits, a mask")->type_name("N");
    set->add_flag("--unavailable", options.unavailable, "No reading");
    return set;
}

CLI::App* addEvent(CLI::App& ctl, EventOptions& options)
{
    CLI::App* event = ctl.add_subcommand("event", "Adds an event to the log");
    event->add_option("SENSOR", options.sensor, "Its name, or NUMBER[@OWNER[/LUN]]");
    event->add_option("--offset", options.offset, "Which event of the sensor's type, 0 to 15")->type_name("N");
    event->add_flag("--deassert", options.deassert, "It is over");
    event->add_option("--data", options.data, "Event data 2 and 3 (default: the threshold twice, or unspecified)")
        ->expected(1, 2)
        ->type_name("HEX");
    event->add_option("--raw", options.raw, "16 bytes: a record as it is, but for its id")->type_name("HEX");
    event->add_option("--count", options.count, "So many of them")->type_name("N");
    return event;
}

CLI::App* addSel(CLI::App& ctl, SelOptions& options)
{
    CLI::App* sel = ctl.add_subcommand("sel", "Lists the event log");
    sel->add_flag("--clear", options.clear, "Clears it first");
    sel->add_option("--time", options.time, "Sets its clock, seconds since 1970")->type_name("N");
    return sel;
}

void addCtl(CLI::App& app, CtlOptions& options)
{
    CLI::App& ctl = *app.add_subcommand("ctl", "Asks or changes a simulator that serves");
    ctl.require_subcommand(1);
    ctl.footer(kCtlExamples);
    ctl.add_option("--socket", options.folder, "Where it serves (default: $TRX_BMCSIM_DIR, else as serve)")
        ->type_name("FOLDER");
    CLI::App* set = addSet(ctl, options);
    CLI::App* faults = ctl.add_subcommand("faults", "Replaces the fault plan");
    faults->add_option("FILE", options.plan, "A fault plan, or: none")->required();
    CLI::App* counters = ctl.add_subcommand("counters", "How often each command was asked");
    counters->add_flag("--clear", options.clear, "Counts from zero again");
    CLI::App* sensors = ctl.add_subcommand("sensors", "Lists the sensors");
    CLI::App* event = addEvent(ctl, options.event);
    CLI::App* sel = addSel(ctl, options.sel);
    for (CLI::App* verb : {counters, sensors, event, sel})
        verb->add_flag("--json", options.asJson, "As JSON");
    CLI::App* latency = ctl.add_subcommand("latency", "Time that each answer takes from now on");
    latency->add_option("MS", options.latency, "Milliseconds")->required();
    for (CLI::App* verb : {set, faults, counters, sensors, latency, event, sel})
        verb->fallthrough();
    ctl.final_callback([&ctl, &options] { options.verb = ctl.get_subcommands().at(0)->get_name(); });
}

void addVerbs(CLI::App& app, CommandLine& line)
{
    CLI::App* exec =
        app.add_subcommand("exec", "Runs a command with a simulated BMC: exec [OPTIONS] -- COMMAND [ARG...]");
    addMachineOptions(*exec, line.machine);
    exec->footer(kExecExamples);
    addServe(app, line.serve);
    addCtl(app, line.ctl);
    CLI::App* sdr = app.add_subcommand("sdr", "Writes a machine's SDR repository to a file");
    addMachine(*sdr, line.machine);
    sdr->add_option("FILE", line.sdrFile, "Where to write it")->required();
    app.add_subcommand("machines", "Lists the built-in machines");
}

} // namespace

std::optional<CommandLine> parseCommandLine(int argc, char** argv)
{
    // What comes before the first "--" is ours, the rest is the program, whatever it looks like.
    char** end = std::find_if(argv, argv + argc, [](const char* word) { return std::strcmp(word, "--") == 0; });
    CommandLine line;
    line.program.assign(std::min(end + 1, argv + argc), argv + argc);
    CLI::App app("A simulated BMC on /dev/ipmi0 of unmodified programs", "trx-bmcsim");
    app.set_version_flag("--version", "trx-bmcsim " TRX_IPMI_VERSION);
    app.require_subcommand(1);
    addVerbs(app, line);
    try {
        app.parse(static_cast<int>(end - argv), argv);
    } catch (const CLI::Success& asked) {
        app.exit(asked);
        return std::nullopt;
    } catch (const CLI::ParseError& error) {
        throw UserMistake(std::string(error.what()) + "; see trx-bmcsim --help");
    }
    line.verb = app.get_subcommands().at(0)->get_name();
    return line;
}

} // namespace Sim
