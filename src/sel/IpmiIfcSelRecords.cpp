// SPDX-License-Identifier: Apache-2.0
// Reading records of the log into the cache.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sel/IpmiIfcSel.h"
#include "transport/PieceReader.h"
#include "wire/AnswerLayout.h"
#include "wire/SelLayout.h"

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <limits>
#include <optional>

namespace Ipmi
{

std::atomic<int> KEEP_SEL_NUMBER{200};

namespace
{

using RecordIds = std::bitset<0x10000>;

constexpr std::chrono::seconds kBusyPause{1};
constexpr int kRecordFailures = 10; ///< in a row on one record, when the whole log is loaded

constexpr PieceRule kEntryRules[] = {
    {wire::cc::kReservationLost, PieceAction::kRenew}, {wire::cc::kTooManyBytes, PieceAction::kShrink},
    {wire::cc::kInvalidLength, PieceAction::kShrink},  {wire::cc::kNodeBusy, PieceAction::kWait},
    {PieceRule::kMisfit, PieceAction::kBackOff},
};

// That every piece's first two bytes are taken for the record's id, wherever the piece starts, is meant.
constexpr PiecePolicy kEntryPolicy{
    .command = wire::kGetSelEntry,
    .request = PiecePolicy::recordRequest,
    .dataAt = wire::record_piece::kData,
    .largest = wire::sel::kSize,
    .attempts = 4,
    .mostLost = std::numeric_limits<int>::max(),
    .fromEnd = true,
    .checksRecord = true,
    .backsOffTwice = true,
    .pause = kBusyPause,
    .rules = kEntryRules,
};

std::uint16_t idOf(const sel_event_record& record)
{
    return le16(record.bytes + wire::sel::kId);
}

bool store(int node, const sel_event_record& record)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    return self.sel.append(record, node);
}

/// How the record read last stands to the one that the log has under its id now.
enum class Last { same, another, unknown };

Last compareLast(int node, std::uint16_t id, const sel_event_record& now)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    if (const IpmiSelData* last = self.sel.last(id))
        return std::ranges::equal(last->rawRecord().bytes, now.bytes) ? Last::same : Last::another;
    return id == wire::kFirstRecord ? Last::unknown : Last::same;
}

void makeRoom(int node, int count)
{
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.selLock);
    self.sel.reserve(static_cast<std::size_t>(count));
}

/// How many records the process's first load keeps.
int newestToKeep()
{
    constexpr long kMost = 2000;
    if (const char* text = std::getenv("CIM_IPMI_SEL_ENTRIES")) {
        const long wanted = std::strtol(text, nullptr, 10);
        TRX::log(LOG_INFO, "SEL entry amount from Environment is %s.", text);
        if (wanted >= 1 && wanted <= kMost)
            KEEP_SEL_NUMBER = static_cast<int>(wanted);
    }
    return std::max(KEEP_SEL_NUMBER.load(), 0);
}

/// What the process's first load keeps of a log with more records than that; nothing on all other loads.
std::optional<int> firstLimit(int entries)
{
    static std::atomic<bool> first{true}; // once per process, not per node: this is meant
    if (!first.exchange(false))
        return std::nullopt;
    const int limit = newestToKeep();
    return entries > limit ? std::optional(limit) : std::nullopt;
}

} // namespace

int IpmiIfcSelReadEntry(int node, ipmiifc_sel_entry* entry)
{
    if (!isNode(node) || !entry)
        return -1;
    int lost = 0;
    const auto renew = [node] { return IpmiIfcSelReserve(node) == 0 ? selReservation(node) : std::uint16_t{0}; };
    PieceReader reader(node, kEntryPolicy, selReservation(node), lost, renew);
    sel_event_record record;
    if (reader.read(entry->recordId, 0, record.bytes) != PieceReader::End::kRead) {
        entry->cc = reader.answer().codeOrNoAnswer();
        return -1;
    }
    *entry = {0, reader.nextId(), record};
    return 0;
}

int IpmiIfcSelReadAll(int node)
{
    int budget = IpmiIfc::getRawSelHeader(node).entryCount();
    if (budget == 0)
        return -1;
    RecordIds seen;
    ipmiifc_sel_entry entry;
    for (int failures = 0;; --budget) {
        const std::uint16_t id = entry.recordId;
        if (IpmiIfcSelReadEntry(node, &entry) != 0) {
            if (budget == 1 || ++failures == kRecordFailures)
                return 0;
            continue;
        }
        failures = 0;
        if (const auto limit = firstLimit(budget)) {
            if (*limit == 0)
                return 0;
            if (entry.recordId != wire::kLastRecord) { // else this is the only one, and the info was wrong
                // To the first of the newest, if ids are consecutive; the record just read is discarded.
                entry.recordId = static_cast<std::uint16_t>(entry.recordId + (budget - 1 - *limit));
                budget = *limit + 1;
                continue;
            }
        }
        if (seen.none())
            makeRoom(node, budget);
        seen.set(id).set(idOf(entry.record)); // they differ where the first record was asked for as such
        if (!store(node, entry.record))
            return -1;
        if (entry.recordId == wire::kLastRecord || budget == 1 || seen.test(entry.recordId))
            return 0;
    }
}

int IpmiIfcSelReadNew(int node, unsigned short lastId)
{
    if (!isNode(node))
        return -1;
    ipmiifc_sel_entry entry;
    entry.recordId = lastId;
    if (IpmiIfcSelReadEntry(node, &entry) != 0)
        return lastId != 0 && entry.cc == wire::cc::kNotPresent ? wire::cc::kNotPresent : -1;
    switch (compareLast(node, lastId, entry.record)) {
    case Last::another:
        return wire::cc::kNotPresent;
    case Last::unknown:
        if (!store(node, entry.record))
            return -1;
        break;
    case Last::same:
        break;
    }
    RecordIds seen;
    seen.set(lastId).set(idOf(entry.record));
    // Nothing but the chain itself ends this: a circle is one that comes back to a record.
    while (entry.recordId != wire::kLastRecord && !seen.test(entry.recordId)) {
        seen.set(entry.recordId);
        if (const int result = IpmiIfcSelReadEntry(node, &entry); result != 0) {
            TRX::log(LOG_ERR, "%s: failed call to IpmiIfcSelReadEntry cc = 0x%x", __func__,
                     static_cast<unsigned>(result) & 0xff);
            return result;
        }
        if (!store(node, entry.record))
            return -1;
    }
    return 0;
}

} // namespace Ipmi
