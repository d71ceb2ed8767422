// SPDX-License-Identifier: Apache-2.0
// sel, sel decode: the event log listed, followed, saved, cleared.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "files/InputFile.h"
#include "files/OutputFile.h"
#include "ipmi/IpmiIfc.h"
#include "monitor/Monitor.h"
#include "node/NodeSession.h"
#include "sdr/Repository.h"
#include "sel/SelErasure.h"
#include "sel/SelFile.h"
#include "sel/SelReader.h"
#include "sel/SelView.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cstdint>
#include <fmt/format.h>
#include <optional>

namespace Tool
{

namespace
{

/// @param inLog  how many records the log itself has, whatever was wanted of it
void print(const Options& options, const SelForm& form, const SelRecords& records, const SelSensorNames& names,
           std::size_t inLog)
{
    if (options.json)
        writeOut(jsonDocument(selJson(records, names, form)));
    else
        writeOut(inLog == 0 ? "The log is empty.\n" : selTable(records, names, form));
}

/// A list without names is better than none: `trouble` says why there are none.
SelSensorNames readNames(const NodeSession& session, const SelRecords& records, std::string& trouble)
{
    const bool needed =
        std::any_of(records.begin(), records.end(), [](const auto& record) { return record->isSelEventRecord(); });
    try {
        return needed ? SelSensorNames(readRepository(session)) : SelSensorNames();
    } catch (const Failure& failure) {
        trouble = std::string("no names of sensors: ") + failure.what();
        return {};
    }
}

std::string missingText(const SelContent& content)
{
    return fmt::format("only {} of {} records could be read", content.records.size(), content.wanted);
}

int list(const Options& options, const SelOptions& request)
{
    std::optional<Progress> progress(std::in_place, "Reading the event log");
    const NodeSession session(options.node);
    const SelContent content = readSel(session, request.selection.last);
    SelRecords records = content.records;
    request.selection.apply(records);
    std::string trouble;
    const SelSensorNames names = readNames(session, records, trouble);
    progress.reset();
    if (!trouble.empty())
        complain(trouble);
    print(options, request.form, records, names, content.wanted);
    if (content.isComplete())
        return kExitFine;
    complain(missingText(content));
    return kExitMistake;
}

/// What was written, for programs.
Json save(const NodeSession& session, const OutputFile& file, const SelOptions& request)
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

void clear(const NodeSession& session, const SelOptions& request)
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

int saveOrClear(const Options& options, const SelOptions& request)
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

int follow(const Options& options, const SelOptions& request)
{
    MonitorPlan plan{.nodes = {options.node}, .interval = request.interval, .sensors = false, .form = {}};
    plan.form.sel = request.form;
    plan.form.json = options.json;
    return monitor(plan);
}

} // namespace

int selVerb(const Options& options, const SelOptions& request)
{
    if (request.follow)
        return follow(options, request);
    if (request.erase)
        return erase(options, *request.erase);
    return request.save || request.clear ? saveOrClear(options, request) : list(options, request);
}

int selDecodeVerb(const Options& options, const SelDecodeOptions& request)
{
    constexpr std::size_t kMostRepository = 1 << 22;
    const SelRecords all = readSelFile(request.file);
    const SelSensorNames names =
        request.repository ? SelSensorNames(readFile(*request.repository, kMostRepository)) : SelSensorNames();
    SelRecords records = all;
    request.selection.apply(records);
    print(options, request.form, records, names, all.size());
    return kExitFine;
}

} // namespace Tool
