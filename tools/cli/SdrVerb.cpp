// SPDX-License-Identifier: Apache-2.0
// sdr dump, sdr list: the repository of sensor data records.
#include "base/Failure.h"
#include "base/Json.h"
#include "cli/Verbs.h"
#include "files/OutputFile.h"
#include "node/NodeSession.h"
#include "sdr/Repository.h"
#include "sdr/SdrSummary.h"
#include "terminal/Progress.h"
#include "terminal/Table.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace Tool
{

namespace
{

std::vector<std::uint8_t> readRepository(int node)
{
    const Progress progress("Reading the SDR repository");
    const NodeSession session(node);
    session.requireBmc();
    return Tool::readRepository(session);
}

/// Keys of one record: only those that its type has.
Json jsonRecord(const SdrSummary& record)
{
    Json result{{"record_id", record.id},
                {"record_type", record.type},
                {"record_type_name", jsonText(record.typeName)},
                {"length", record.length}};
    const auto put = [&result](const char* key, const std::optional<unsigned>& value) {
        if (value)
            result[key] = *value;
    };
    put("owner", record.owner);
    put("lun", record.lun);
    put("number", record.number);
    put("address", record.address);
    put("fru_device", record.device);
    if (record.entityId)
        result["entity"] = {{"id", *record.entityId}, {"instance", *record.entityInstance}};
    if (!record.data.empty())
        result["data"] = record.data;
    else if (record.members.empty())
        result["name"] = jsonText(record.name);
    else
        result["members"] = record.members;
    return result;
}

std::vector<Table::Cell> row(const SdrSummary& record)
{
    std::string what = record.name + record.data;
    if (!record.members.empty())
        what = fmt::format("contains {}", fmt::join(record.members, ", "));
    return {{fmt::format("0x{:04x}", record.id)},
            {record.typeName.empty() ? fmt::format("unknown (0x{:02x})", record.type) : record.typeName},
            {std::to_string(record.length)},
            {record.place()},
            {record.entityId ? entityKey(*record.entityId, *record.entityInstance) : ""},
            {std::move(what)}};
}

} // namespace

int sdrDumpVerb(const Options& options, const std::string& path)
{
    const OutputFile file(path);
    const auto all = readRepository(options.node);
    file.write(all);
    if (!file.isRegular())
        return kExitFine; // it may be standard output itself
    const std::size_t records = splitRecords(all).size();
    if (options.json)
        writeOut(jsonDocument({{"file", path}, {"records", records}, {"bytes", all.size()}}));
    else
        writeOut(printable(fmt::format("{} records, {} bytes written to {}", records, all.size(), path)) + '\n');
    return kExitFine;
}

int sdrListVerb(const Options& options)
{
    const auto all = readRepository(options.node);
    Json records = Json::array();
    Table table(
        {{"ID"}, {"TYPE"}, {.title = "LENGTH", .align = Table::Align::kRight}, {"PLACE"}, {"ENTITY"}, {"NAME"}});
    for (const SdrBytes& bytes : splitRecords(all)) {
        const SdrSummary record(bytes);
        records.push_back(jsonRecord(record));
        table.add(row(record));
    }
    writeOut(options.json ? jsonDocument(Json{{"records", std::move(records)}}) : table.text(false));
    return kExitFine;
}

} // namespace Tool
