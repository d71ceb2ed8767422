// SPDX-License-Identifier: Apache-2.0
// The one file that includes CLI11, which takes long to compile: all options and helps, verb by verb.
#include "cli/CommandLine.h"

#include "base/Failure.h"
#include "ipmi/IpmiRecords.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <memory>
#include <string>
#include <unistd.h>

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
  trx-ipmi fru                         the hardware inventory: serial numbers, parts, power supplies
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

/// The time between two looks, a check for CLI11: empty when it is one. Seconds that are no number are none.
std::string checkInterval(const std::string& text)
{
    constexpr double kShortest = 0.1, kLongest = 86400;
    double seconds = 0;
    const bool isNumber = CLI::detail::lexical_cast(text, seconds);
    return isNumber && seconds >= kShortest && seconds <= kLongest ? "" : "give 0.1 to 86400 seconds, not " + text;
}

CLI::App* addVerb(CLI::App& to, const char* name, const char* description, const char* examples)
{
    CLI::App* verb = to.add_subcommand(name, description);
    verb->fallthrough()->group("Verbs")->footer(examples);
    return verb;
}

void addSensors(CLI::App& app, CommandLine& line)
{
    constexpr unsigned kMostPasses = 1'000'000'000;
    CLI::App* verb = addVerb(app, "sensors", "All sensors: value, unit, state and thresholds", R"(Examples:
  trx-ipmi sensors
  trx-ipmi --sim --json sensors
  trx-ipmi sensors --type temperature --watch 2
  trx-ipmi sensors --entity 7.1 --verbose)");
    const auto request = std::make_shared<SensorsOptions>();
    verb->add_option("--entity", request->selection.entity,
                     "Only those of a part of the server, or inside it: 7.1, 7, "
                     "0x07, \"system board\" or \"system board 1\"")
        ->type_name("ENTITY");
    verb->add_option("--type", request->selection.type, "Only those of a sensor type: its name or code")
        ->type_name("TYPE");
    CLI::Option* verbose = verb->add_flag("--verbose", request->verbose, "All that the records say");
    CLI::Option* watch = verb->add_option("--watch", request->interval, "Again and again, until Ctrl-C")
                             ->type_name("SECONDS")
                             ->check(checkInterval)
                             ->excludes(verbose);
    verb->add_option("--count", request->count, "With --watch: end after as many times")
        ->type_name("N")
        ->check(CLI::Range(1U, kMostPasses))
        ->needs(watch);
    verb->callback(
        [&line, request] { line.run = [request](const Options& options) { return sensorsVerb(options, *request); }; });
}

void addEntities(CLI::App& app, CommandLine& line)
{
    addVerb(app, "entities", "The server's parts as a tree, each with its sensors",
            "Example:\n  trx-ipmi --sim entities")
        ->callback([&line] { line.run = entitiesVerb; });
}

void addInfo(CLI::App& app, CommandLine& line)
{
    addVerb(app, "info", "Who the BMC is: maker, product, versions, self test",
            "Examples:\n  trx-ipmi info\n  trx-ipmi --node 1 --json info")
        ->callback([&line] { line.run = infoVerb; });
}

void addLan(CLI::App& app, CommandLine& line)
{
    addVerb(app, "lan", "The BMC's own network: MAC, addresses, gateway, VLAN",
            "Examples:\n  trx-ipmi lan\n  trx-ipmi --sim --json lan")
        ->callback([&line] { line.run = lanVerb; });
}

void addRaw(CLI::App& app, CommandLine& line)
{
    CLI::App* verb = addVerb(app, "raw", "Send one command and print the answer's bytes",
                             "Examples:\n  trx-ipmi raw 6 1              Get Device ID\n  trx-ipmi "
                             "raw 0x04 0x2d 0x01   Get Sensor Reading of sensor 1");
    const auto words = std::make_shared<std::vector<std::string>>();
    verb->add_option("BYTES", *words, "NETFN CMD [DATA...]: decimal, or hexadecimal with 0x")
        ->required()
        ->expected(2, -1)
        ->type_name("");
    verb->callback([&line, words] {
        line.run = [command = rawCommandFrom(*words)](const Options& options) { return rawVerb(options, command); };
    });
}

void addSdr(CLI::App& app, CommandLine& line)
{
    CLI::App* sdr = app.add_subcommand("sdr", "The repository of sensor data records");
    sdr->fallthrough()->group("Verbs");
    CLI::App* dump = addVerb(*sdr, "dump", "Write the repository to a file: raw records one after another",
                             "Example:\n  trx-ipmi sdr dump sdr.bin");
    const auto path = std::make_shared<std::string>();
    dump->add_option("FILE", *path, "File to write; replaced only when all has been read")->required()->type_name("");
    dump->callback(
        [&line, path] { line.run = [path](const Options& options) { return sdrDumpVerb(options, *path); }; });
    addVerb(*sdr, "list", "All records, one line each", "Example:\n  trx-ipmi --sim sdr list")->callback([&line] {
        line.run = sdrListVerb;
    });
}

/// What can be said to `sel` and its inner verbs, some of it still in words.
struct SelWords {
    SelOptions sel;
    SelDecodeOptions decode;
    std::optional<std::string> since, erase;

    void parse()
    {
        if (since)
            sel.selection.since = sinceFrom(*since, sel.form.utc);
        if (erase)
            sel.erase = recordIdFrom(*erase);
        if (sel.clear && !sel.yes && isatty(STDIN_FILENO) != 1)
            throw Failure("there is no terminal to ask on: give --yes to clear the log");
        decode.selection = sel.selection;
        decode.form = sel.form;
    }
};

void addUtc(CLI::App& verb, bool& utc)
{
    verb.add_flag("--utc", utc, "Times in UTC, not local ones");
}

void addSelListOptions(CLI::App& verb, SelWords& words)
{
    constexpr unsigned kMostRecords = 0xffff;
    verb.add_option("--last", words.sel.selection.last, "Only the newest N records")
        ->type_name("N")
        ->check(CLI::Range(1U, kMostRecords));
    verb.add_option("--since", words.since,
                    "Only records of this time and after: 2024-01-31, \"2024-01-31 13:45\", 2024-01-31T13:45:00Z")
        ->type_name("TIME");
    verb.add_flag("--raw", words.sel.form.raw, "With the records' bytes");
    addUtc(verb, words.sel.form.utc);
}

void addSelOptions(CLI::App& verb, SelWords& words)
{
    addSelListOptions(verb, words);
    CLI::Option* save = verb.add_option("--save", words.sel.save,
                                        "Write the records to a file, 16 bytes each; replaced only when all were read")
                            ->type_name("FILE");
    CLI::Option* clear = verb.add_flag("--clear", words.sel.clear, "Clear the log; with --save once that is done");
    verb.add_flag("--yes", words.sel.yes, "Clear without asking")->needs(clear);
    CLI::Option* erase = verb.add_option("--delete", words.erase, "Delete one record, decimal or 0x")->type_name("ID");
    CLI::Option* follow =
        verb.add_flag("--follow", words.sel.follow, "Wait for new events and list each, until Ctrl-C");
    verb.add_option("--interval", words.sel.interval, "With --follow: time between two looks; 2 when not given")
        ->type_name("SECONDS")
        ->check(checkInterval)
        ->needs(follow);
    for (const char* name : {"--last", "--since"}) {
        for (CLI::Option* option : {clear, erase, follow})
            option->excludes(verb.get_option(name));
    }
    erase->excludes(save)->excludes(clear);
    follow->excludes(save)->excludes(clear)->excludes(erase);
}

/// Of the options of a verb that stand on the line, an inner verb takes those that it has too.
void refuseForeignOptions(const CLI::App& verb, const CLI::App& inner)
{
    for (const CLI::Option* option : verb.get_options()) {
        if (option->count() > 0 && !inner.get_option_no_throw(option->get_name()))
            throw Failure(
                fmt::format("{} does not go with {} {}", option->get_name(), verb.get_name(), inner.get_name()));
    }
}

/// What each verb runs is chosen here, when all is parsed; an inner verb's callback comes before that of `sel`.
template <typename Action>
void addSelAction(CLI::App& verb, CommandLine& line, const std::shared_ptr<SelWords>& words, Action action)
{
    verb.callback([&verb, &line, words, action] {
        const auto inner = verb.get_subcommands();
        if (!inner.empty())
            return refuseForeignOptions(verb, *inner.front());
        words->parse();
        line.run = [words, action](const Options& options) { return action(options, *words); };
    });
}

void addSel(CLI::App& app, CommandLine& line)
{
    const auto words = std::make_shared<SelWords>();
    CLI::App* sel = addVerb(app, "sel", "The system event log: list, follow, save, clear", "");
    addSelOptions(*sel, *words);
    addSelAction(*sel, line, words, [](const Options& options, const SelWords& w) { return selVerb(options, w.sel); });
    CLI::App* info = addVerb(*sel, "info", "The log as a whole: size, times, clock, what it can do",
                             "Example:\n  trx-ipmi sel info --utc");
    addUtc(*info, words->sel.form.utc);
    addSelAction(*info, line, words,
                 [](const Options& options, const SelWords& w) { return selInfoVerb(options, w.sel.form.utc); });
    CLI::App* decode = addVerb(*sel, "decode", "List the records of a file, 16 bytes each; needs no BMC",
                               "Example:\n  trx-ipmi sel decode sel.bin --since 2024-01-31");
    decode->add_option("FILE", words->decode.file, "File that --save has written")->required()->type_name("");
    addSelListOptions(*decode, *words);
    decode->add_option("--sdr", words->decode.repository, "Names of sensors from a repository as sdr dump writes it")
        ->type_name("FILE");
    addSelAction(*decode, line, words,
                 [](const Options& options, const SelWords& w) { return selDecodeVerb(options, w.decode); });
    sel->footer(R"(Examples:
  trx-ipmi sel
  trx-ipmi --json sel --last 20
  trx-ipmi sel --since "2024-01-31 13:45"
  trx-ipmi sel --save sel.bin --clear
  trx-ipmi --json sel --follow
  trx-ipmi sel info
  trx-ipmi sel decode sel.bin)"); // after the inner verbs, which would inherit it
}

void addFru(CLI::App& app, CommandLine& line)
{
    CLI::App* fru = addVerb(app, "fru", "The hardware inventory: what each part says of itself", "");
    const auto request = std::make_shared<FruOptions>();
    const auto path = std::make_shared<std::string>();
    fru->add_option("NAME|ID", request->selection.device,
                    "Only the devices of this name, or FRU device id: decimal, or hexadecimal with 0x")
        ->type_name("");
    fru->add_option("--dump", request->dump,
                    "Write all bytes of one device to a file instead; replaced only when all were read")
        ->type_name("FILE");
    CLI::App* decode =
        addVerb(*fru, "decode", "Show the image in a file; needs no BMC", "Example:\n  trx-ipmi fru decode board.bin");
    decode->add_option("FILE", *path, "File that --dump has written")->required()->type_name("");
    fru->callback([&line, fru, request, path] {
        const auto inner = fru->get_subcommands();
        if (!inner.empty()) {
            refuseForeignOptions(*fru, *inner.front());
            line.run = [path](const Options& options) { return fruDecodeVerb(options, *path); };
        } else {
            line.run = [request](const Options& options) { return fruVerb(options, *request); };
        }
    });
    fru->footer(R"(Examples:
  trx-ipmi fru
  trx-ipmi fru "PSU FRU"
  trx-ipmi --json fru 1
  trx-ipmi fru 0 --dump board.bin
  trx-ipmi fru decode board.bin)"); // after the inner verb, which would inherit it
}

void addMonitor(CLI::App& app, CommandLine& line)
{
    CLI::App* verb = addVerb(app, "monitor", "A line for each event and each change of a sensor's state", R"(Examples:
  trx-ipmi monitor
  trx-ipmi monitor --interval 2 --nodes 0,1
  trx-ipmi --sim --json monitor)");
    const auto request = std::make_shared<MonitorOptions>();
    verb->add_option("--interval", request->interval, "Time between two looks; 10 when not given")
        ->type_name("SECONDS")
        ->check(checkInterval);
    verb->add_option("--nodes", request->nodes, "Several BMCs: 0,2 or 0-3")->type_name("LIST");
    addUtc(*verb, request->utc);
    verb->callback(
        [&line, request] { line.run = [request](const Options& options) { return monitorVerb(options, *request); }; });
}

void describe(CLI::App& app, CommandLine& line)
{
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "trx-ipmi " TRX_IPMI_VERSION);
    app.add_option("--node", line.options.node, "Which BMC: N is the one behind /dev/ipmiN")
        ->type_name("N")
        ->check(CLI::Range(0, Ipmi::kNodeCount - 1).description(""));
    app.add_flag("--sim{sample}", line.options.machine,
                 "A simulated BMC: a machine's name or file; without one the sample");
    app.add_flag("--json", line.options.json, "JSON instead of columns");
    app.require_subcommand(0, 1);
    for (const auto add : {addSensors, addEntities, addInfo, addLan, addRaw, addSdr, addSel, addFru, addMonitor})
        add(app, line);
    app.footer(kExamples); // after the verbs, which would inherit it
}

} // namespace

std::optional<CommandLine> commandLineFrom(int argc, char** argv)
{
    CommandLine line;
    CLI::App app("Looks at a server's BMC through the Linux IPMI driver.", "trx-ipmi");
    describe(app, line);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() != 0)
            throw Failure(std::string(error.what()) + " (trx-ipmi --help shows how)");
        app.exit(error); // help, version
        return std::nullopt;
    }
    line.options.nodeGiven = app.count("--node") > 0;
    return line;
}

} // namespace Tool
