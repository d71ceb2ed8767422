// SPDX-License-Identifier: Apache-2.0
// What a record says in the columns of a table, and in JSON.
#include "sel/SelView.h"

#include "ipmi/IpmiSensorNames.h"
#include "sensors/EventNames.h"
#include "wire/SelLayout.h"

#include <algorithm>
#include <array>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <string_view>

namespace Tool
{

namespace wire = Ipmi::wire;

namespace
{

bool isOem(const Ipmi::IpmiSelData& record)
{
    return record.recordType() >= wire::sel::kFirstTimestampedOemType;
}

bool hasTime(const Ipmi::IpmiSelData& record)
{
    return record.isSelEventRecord() || (isOem(record) && record.recordType() <= wire::sel::kLastTimestampedOemType);
}

std::string hexText(std::span<const std::uint8_t> bytes)
{
    return fmt::format("{:02x}", fmt::join(bytes, " "));
}

/// An event record's part that others do not have.
struct Event {
    explicit Event(const Ipmi::IpmiSelData& record)
        : sensorType(bytesOf(record)[wire::sel::kSensorType]), type(static_cast<std::uint8_t>(record.eventType())),
          offset(bytesOf(record)[wire::sel::kData1] & wire::sel::kOffsetMask),
          asserted((bytesOf(record)[wire::sel::kDirectionAndType] & wire::sel::kDeassertion) == 0)
    {
    }

    std::uint8_t sensorType, type;
    unsigned offset;
    bool asserted;
};

struct Severity {
    unsigned code; ///< IpmiSelData::severity
    std::string_view name;
    Colour colour;
};
constexpr std::array<Severity, 3> kSeverities{
    {{5, "non-critical", Colour::kYellow}, {6, "critical", Colour::kRed}, {7, "non-recoverable", Colour::kRed}}};

Table::Cell severityCell(const Ipmi::IpmiSelData& record, bool asserted)
{
    const auto found = std::find_if(kSeverities.begin(), kSeverities.end(),
                                    [&](const Severity& row) { return row.code == record.severity(); });
    if (found == kSeverities.end())
        return {};
    return {std::string(found->name), asserted ? found->colour : Colour::kNone};
}

/// The caption without its direction, which has a column of its own. Some kinds of events have no caption.
std::string eventText(const Ipmi::IpmiSelData& record, const Event& event)
{
    constexpr std::string_view kEndOfDirection = " + ";
    std::string text = record.caption();
    if (const auto end = text.find(kEndOfDirection); end != std::string::npos)
        text.erase(0, end + kEndOfDirection.size());
    text.erase(text.find_last_not_of(' ') + 1);
    if (!text.empty())
        return text;
    return Ipmi::DescFromType(event.sensorType) + ' ' + eventNames(event.type, event.sensorType, 1U << event.offset)[0];
}

std::string sensorText(const Ipmi::IpmiSelData& record, const SelSensorNames& names)
{
    const std::string name = names.name(record.getGeneratorId(), record.getSensorNumber());
    return name.empty() ? fmt::format("sensor 0x{:02x}", record.getSensorNumber()) : name;
}

} // namespace

std::span<const std::uint8_t, kSelRecordSize> bytesOf(const Ipmi::IpmiSelData& record)
{
    return record.rawRecord().bytes;
}

std::vector<Table::Cell> cellsOf(const Ipmi::IpmiSelData& record, const SelSensorNames& names, const SelForm& form)
{
    const bool timed = hasTime(record);
    std::vector<Table::Cell> cells{{fmt::format("0x{:04x}", record.recordId())},
                                   {timed ? SelTimestamp(record.messageTimeStamp()).text(form.utc) : ""}};
    if (record.isSelEventRecord()) {
        const Event event(record);
        cells.push_back({sensorText(record, names)});
        cells.push_back({eventText(record, event)});
        cells.push_back({event.asserted ? "asserted" : "deasserted"});
        cells.push_back(severityCell(record, event.asserted));
    } else {
        cells.push_back({fmt::format("{} 0x{:02x}", isOem(record) ? "OEM" : "type", record.recordType())});
        cells.push_back({hexText(bytesOf(record).subspan(timed ? wire::sel::kOemData : wire::sel::kUntimedOemData))});
        cells.resize(cells.size() + 2);
    }
    cells.push_back({form.raw ? hexText(bytesOf(record)) : ""});
    return cells;
}

Json jsonOf(const Ipmi::IpmiSelData& record, const SelSensorNames& names, const SelForm& form)
{
    const SelTimestamp time(record.messageTimeStamp());
    Json result{{"id", record.recordId()}, {"type", record.recordType()}, {"time", time.json(form.utc)}};
    for (const char* key : {"generator", "sensor_type", "sensor_number", "sensor_name", "event_type", "offset",
                            "asserted", "caption", "severity"})
        result[key] = nullptr;
    if (record.isSelEventRecord()) {
        const Event event(record);
        result["generator"] = record.getGeneratorId();
        result["sensor_type"] = event.sensorType;
        result["sensor_number"] = record.getSensorNumber();
        result["sensor_name"] = jsonText(names.name(record.getGeneratorId(), record.getSensorNumber()));
        result["event_type"] = event.type;
        result["offset"] = event.offset;
        result["asserted"] = event.asserted;
        result["caption"] = jsonText(record.caption());
        result["severity"] = record.severity();
    }
    result["raw"] = hexText(bytesOf(record));
    if (time.isUptime())
        result["uptime_seconds"] = record.messageTimeStamp();
    return result;
}

std::string selTable(const SelRecords& records, const SelSensorNames& names, const SelForm& form)
{
    Table table({{"ID"},
                 {form.utc ? "TIME (UTC)" : "TIME"},
                 {"SENSOR"},
                 {"EVENT"},
                 {"DIRECTION"},
                 {"SEVERITY"},
                 {.title = "RAW", .optional = true}});
    for (const auto& record : records)
        table.add(cellsOf(*record, names, form));
    return table.text(colourWanted());
}

Json selJson(const SelRecords& records, const SelSensorNames& names, const SelForm& form)
{
    Json list = Json::array();
    for (const auto& record : records)
        list.push_back(jsonOf(*record, names, form));
    return Json{{"sel", std::move(list)}};
}

} // namespace Tool
