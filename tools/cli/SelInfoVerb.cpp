// SPDX-License-Identifier: Apache-2.0
// sel info: the event log as a whole, fact by fact.
#include "base/Failure.h"
#include "cli/Verbs.h"
#include "node/NodeSession.h"
#include "terminal/Facts.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include "ipmi/CmpiStatus.h"
#include "ipmi/IpmiIfc.h"
#include "sel/SelReader.h"
#include "sel/SelTimestamp.h"

#include <array>
#include <cstdint>
#include <ctime>
#include <fmt/format.h>

namespace Tool
{

namespace
{

using Ipmi::IpmiIfc;

void addTime(Facts& facts, const std::string& key, const SelTimestamp& time, bool utc)
{
    facts.put(key, time.text(utc), time.json(utc));
}

void addYesNo(Facts& facts, const std::string& key, bool value)
{
    facts.put(key, value ? "yes" : "no", value);
}

void addState(Facts& facts, const Ipmi::ipmiifc_sel_info& info, const Ipmi::IpmiSel& sel, bool utc)
{
    constexpr unsigned kMostFreeSpace = 0xffff;
    const std::string version = fmt::format("{}.{}", info.version() & 0x0f, info.version() >> 4);
    facts.put("version", version, version);
    facts.number("entries", info.entryCount());
    facts.put("free_bytes", fmt::format("{}{}", info.freeSpace(), info.freeSpace() == kMostFreeSpace ? " or more" : ""),
              info.freeSpace());
    facts.number("capacity", sel.getMaxNumberOfRecords());
    addTime(facts, "last_addition", SelTimestamp(info.addTime()), utc);
    addTime(facts, "last_erasure", SelTimestamp(info.eraseTime()), utc);
    addYesNo(facts, "overflow", sel.getOverFlowFlag());
}

/// IPMI 2.0, 31.2
void addOperations(Facts& facts, unsigned support)
{
    const Words kOperations{"allocation info", "reserve", "partial add", "delete"}; // bit 0, 1, 2, 3
    std::vector<std::string> names;
    for (std::size_t bit = 0; bit < kOperations.size(); ++bit) {
        if ((support >> bit & 1) != 0)
            names.emplace_back(kOperations[bit]);
    }
    facts.list("operations", names);
}

/// IPMI 2.0, 31.3: how the log's memory is divided. Many BMCs do not say.
void addAllocation(Facts& facts, const NodeSession& session)
{
    struct Field {
        const char* key;
        std::size_t at, size;
    };
    constexpr std::array<Field, 5> kFields{{{"allocation_units", 0, 2},
                                            {"allocation_unit_bytes", 2, 2},
                                            {"free_units", 4, 2},
                                            {"largest_free_block", 6, 2},
                                            {"largest_record_units", 8, 1}}};
    const auto reply = session.send(Ipmi::wire::kGetSelAllocInfo);
    for (const Field& field : kFields) {
        if (!reply || reply->data.size() < field.at + field.size)
            facts.put(field.key, "", nullptr);
        else
            facts.number(field.key, reply->data[field.at] | (field.size > 1 ? reply->data[field.at + 1] << 8 : 0));
    }
}

void addClock(Facts& facts, int node, bool utc)
{
    const unsigned seconds = IpmiIfc::selGetClock(node);
    const SelTimestamp clock(seconds);
    const auto point = clock.point();
    facts.put("clock", seconds == 0 ? "" : clock.text(utc), clock.json(utc));
    const std::int64_t ahead = point.value_or(0) - std::int64_t{std::time(nullptr)};
    facts.put("clock_ahead_seconds", point ? fmt::format("{:+}", ahead) : "", point ? Json(ahead) : Json(nullptr));
}

void addLogging(Facts& facts, const Ipmi::IpmiSel& sel)
{
    try {
        addYesNo(facts, "logging", sel.isEnabled());
    } catch (const Ipmi::CmpiStatus&) {
        facts.put("logging", "", nullptr);
    }
}

/// Asks the BMC. What it does not say is empty and null.
Facts selFacts(const NodeSession& session, bool utc)
{
    readSelState(session);
    const int node = session.node();
    const Ipmi::ipmiifc_sel_info info = IpmiIfc::getRawSelHeader(node);
    const auto summary = IpmiIfc::getSel(node);
    const Ipmi::IpmiSel sel = summary ? *summary : Ipmi::IpmiSel();
    Facts facts;
    addState(facts, info, sel, utc);
    addOperations(facts, info.operationSupport());
    addAllocation(facts, session);
    addClock(facts, node, utc);
    addLogging(facts, sel);
    const unsigned processed = IpmiIfc::getLastProcessedSELEntry(node);
    facts.put("last_processed", processed == 0 ? "" : fmt::format("0x{:04x}", processed),
              processed == 0 ? Json(nullptr) : Json(processed));
    return facts;
}

} // namespace

int selInfoVerb(const Options& options, bool utc)
{
    std::optional<Progress> progress(std::in_place, "Asking the BMC");
    const NodeSession session(options.node);
    const Facts facts = selFacts(session, utc);
    progress.reset();
    Json json = Json::object();
    for (const Fact& fact : facts.all())
        json[fact.key] = fact.json;
    writeOut(options.json ? jsonDocument(json) : "System event log\n" + facts.lines());
    return kExitFine;
}

} // namespace Tool
