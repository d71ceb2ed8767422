#include "Failure.h"
#include "InputFile.h"
#include "Interval.h"
#include "Json.h"
#include "Monitor.h"
#include "NodeSession.h"
#include "OutputFile.h"
#include "Progress.h"
#include "SdrReader.h"
#include "SelErasure.h"
#include "SelFile.h"
#include "SelInfo.h"
#include "SelReader.h"
#include "SelSelection.h"
#include "SelView.h"
#include "Terminal.h"
#include "Verbs.h"
#include "ipmi/IpmiIfc.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <memory>
#include <optional>
#include <unistd.h>

namespace Tool
{

namespace
{

/// What the command line said of the log.
struct Request {
    SelSelection selection;
    SelForm form;
    std::optional<std::string> sinceText;
    std::optional<std::string> save;
    bool follow = false;
    double interval = 2; ///< seconds between two looks that follow
    bool clear = false;
    bool yes = false;
    std::optional<std::string> idText;
    std::optional<std::uint16_t> id; ///< to delete

    std::string file; ///< to decode
    std::optional<std::string> sdr;
};

/// @param empty  the log itself, whatever was wanted of it
void print(const SelRecords& records, const SensorNames& names, const SelForm& form, bool json, bool empty)
{
    if (json)
        writeOut(jsonDocument(selJson(records, names, form)));
    else
        writeOut(empty ? "The log is empty.\n" : selTable(records, names, form));
}

/// A list without names is better than none: `trouble` says why there are none.
SensorNames readNames(const NodeSession& session, const SelRecords& records, std::string& trouble)
{
    const bool needed =
        std::any_of(records.begin(), records.end(), [](const auto& record) { return record->isSelEventRecord(); });
    try {
        return needed ? SensorNames(SdrReader(session).read()) : SensorNames();
    } catch (const Failure& failure) {
        trouble = std::string("no names of sensors: ") + failure.what();
        return {};
    }
}

std::string missingText(const SelContent& content)
{
    return fmt::format("only {} of {} records could be read", content.records.size(), content.wanted);
}

int list(const Options& options, const Request& request)
{
    std::optional<Progress> progress(std::in_place, "Reading the event log");
    const NodeSession session(options.node);
    const SelContent content = readSel(session, request.selection.last);
    SelRecords records = content.records;
    request.selection.apply(records);
    std::string trouble;
    const SensorNames names = readNames(session, records, trouble);
    progress.reset();
    if (!trouble.empty())
        complain(trouble);
    print(records, names, request.form, options.json, content.wanted == 0);
    if (content.isComplete())
        return kExitFine;
    complain(missingText(content));
    return kExitMistake;
}

/// What was written, for programs.
Json save(const NodeSession& session, const OutputFile& file, const Request& request)
{
    const Progress progress("Reading the event log");
    SelContent content = readSel(session, request.selection.last);
    if (!content.isComplete())
        throw Failure(missingText(content) + ": nothing saved");
    request.selection.apply(content.records);
    const std::vector<std::uint8_t> bytes = selFileContent(content.records);
    file.write(bytes);
    return {{"file", *request.save}, {"records", content.records.size()}, {"bytes", bytes.size()}};
}

void clear(const NodeSession& session, const Request& request)
{
    if (!request.yes && !request.save)
        readSelState(session);
    if (!request.yes)
        confirmClearing(
            fmt::format("Clear the log ({} records)?", Ipmi::IpmiIfc::getRawSelHeader(session.node()).entryCount()));
    const Progress progress("Clearing the event log");
    if (request.save && hasSelChanged(session) != false)
        throw Failure("the log has changed while it was saved: nothing cleared, run it again");
    clearSel(session);
}

int saveOrClear(const Options& options, const Request& request)
{
    const auto file = request.save ? std::optional<OutputFile>(*request.save) : std::nullopt;
    const NodeSession session(options.node);
    Json done = Json::object();
    std::string text;
    if (file) {
        done = save(session, *file, request);
        text = fmt::format("{} records, {} bytes written to {}\n", done["records"].get<std::size_t>(),
                           done["bytes"].get<std::size_t>(), printable(*request.save));
    }
    if (request.clear) {
        clear(session, request);
        done["cleared"] = true;
        text += "The log is cleared.\n";
    }
    if (!file || file->isRegular()) // it may be standard output itself
        writeOut(options.json ? jsonDocument(done) : text);
    return kExitFine;
}

int erase(const Options& options, std::uint16_t id)
{
    std::optional<Progress> progress(std::in_place, "Deleting the record");
    const NodeSession session(options.node);
    deleteSelEntry(session, id);
    progress.reset();
    writeOut(options.json ? jsonDocument(Json{{"deleted", id}}) : fmt::format("Record 0x{:04x} is deleted.\n", id));
    return kExitFine;
}

int follow(const Options& options, const Request& request)
{
    MonitorPlan plan{.nodes = {options.node}, .interval = request.interval, .sensors = false, .form = {}};
    plan.form.sel = request.form;
    plan.form.json = options.json;
    return monitor(plan);
}

int run(const Options& options, const Request& request)
{
    if (request.follow)
        return follow(options, request);
    if (request.id)
        return erase(options, *request.id);
    return request.save || request.clear ? saveOrClear(options, request) : list(options, request);
}

int info(const Options& options, const Request& request)
{
    std::optional<Progress> progress(std::in_place, "Asking the BMC");
    const NodeSession session(options.node);
    const Facts facts = selFacts(session, request.form.utc);
    progress.reset();
    Json json = Json::object();
    for (const Fact& fact : facts.all())
        json[fact.key] = fact.json;
    writeOut(options.json ? jsonDocument(json) : "System event log\n" + facts.lines());
    return kExitFine;
}

int decode(const Options& options, const Request& request)
{
    constexpr std::size_t kMostRepository = 1 << 22;
    const SelRecords all = readSelFile(request.file);
    const SensorNames names = request.sdr ? SensorNames(readFile(*request.sdr, kMostRepository)) : SensorNames();
    SelRecords records = all;
    request.selection.apply(records);
    print(records, names, request.form, options.json, all.empty());
    return kExitFine;
}

void addListOptions(CLI::App& verb, Request& request)
{
    constexpr unsigned kMostRecords = 0xffff;
    verb.add_option("--last", request.selection.last, "Only the newest N records")
        ->type_name("N")
        ->check(CLI::Range(1U, kMostRecords));
    verb.add_option("--since", request.sinceText,
                    "Only records of this time and after: 2024-01-31, \"2024-01-31 13:45\", 2024-01-31T13:45:00Z")
        ->type_name("TIME");
    verb.add_flag("--raw", request.form.raw, "With the records' bytes");
    verb.add_flag("--utc", request.form.utc, "Times in UTC, not local ones");
}

void addOptions(CLI::App& verb, Request& request)
{
    addListOptions(verb, request);
    CLI::Option* save = verb.add_option("--save", request.save,
                                        "Write the records to a file, 16 bytes each; replaced only when all were read")
                            ->type_name("FILE");
    CLI::Option* clear = verb.add_flag("--clear", request.clear, "Clear the log; with --save once that is done");
    verb.add_flag("--yes", request.yes, "Clear without asking")->needs(clear);
    CLI::Option* erase =
        verb.add_option("--delete", request.idText, "Delete one record, decimal or 0x")->type_name("ID");
    CLI::Option* follow = verb.add_flag("--follow", request.follow, "Wait for new events and list each, until Ctrl-C");
    verb.add_option("--interval", request.interval, "With --follow: time between two looks; 2 when not given")
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

void parse(Request& request)
{
    if (request.sinceText)
        request.selection.since = sinceFrom(*request.sinceText, request.form.utc);
    if (request.idText)
        request.id = recordIdFrom(*request.idText);
    if (request.clear && !request.yes && isatty(STDIN_FILENO) != 1)
        throw Failure("there is no terminal to ask on: give --yes to clear the log");
}

/// Of the options of `sel` that stand on the line, an inner verb takes those that it has too.
void refuseForeignOptions(const CLI::App& verb, const CLI::App& inner)
{
    for (const CLI::Option* option : verb.get_options()) {
        if (option->count() > 0 && !inner.get_option_no_throw(option->get_name()))
            throw Failure(fmt::format("{} does not go with sel {}", option->get_name(), inner.get_name()));
    }
}

using Action = int (*)(const Options&, const Request&);

/// What each verb runs is chosen here, when all is parsed; an inner verb's callback comes before that of `sel`.
void addAction(CLI::App& verb, Options& options, const std::shared_ptr<Request>& request, Action action)
{
    verb.fallthrough()->group("Verbs");
    verb.callback([&verb, &options, request, action] {
        const auto inner = verb.get_subcommands();
        if (!inner.empty())
            return refuseForeignOptions(verb, *inner.front());
        parse(*request);
        options.run = [&options, request, action] { return action(options, *request); };
    });
}

} // namespace

void addSelVerb(CLI::App& app, Options& options)
{
    const auto request = std::make_shared<Request>();
    CLI::App* sel = app.add_subcommand("sel", "The system event log: list, follow, save, clear");
    addOptions(*sel, *request);
    addAction(*sel, options, request, run);
    CLI::App* infoVerb = sel->add_subcommand("info", "The log as a whole: size, times, clock, what it can do");
    infoVerb->add_flag("--utc", request->form.utc, "Times in UTC, not local ones");
    addAction(*infoVerb, options, request, info);
    CLI::App* decodeVerb = sel->add_subcommand("decode", "List the records of a file, 16 bytes each; needs no BMC");
    decodeVerb->add_option("FILE", request->file, "File that --save has written")->required()->type_name("");
    addListOptions(*decodeVerb, *request);
    decodeVerb->add_option("--sdr", request->sdr, "Names of sensors from a repository as sdr dump writes it")
        ->type_name("FILE");
    addAction(*decodeVerb, options, request, decode);
    sel->footer(R"(Examples:
  trx-ipmi sel
  trx-ipmi --json sel --last 20
  trx-ipmi sel --since "2024-01-31 13:45"
  trx-ipmi sel --save sel.bin --clear
  trx-ipmi --json sel --follow
  trx-ipmi sel info
  trx-ipmi sel decode sel.bin)");
    infoVerb->footer("Example:\n  trx-ipmi sel info --utc");
    decodeVerb->footer("Example:\n  trx-ipmi sel decode sel.bin --since 2024-01-31");
}

} // namespace Tool
