// Reading records of the log into the cache.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "node/RecordExchange.h"
#include "node/SignalPipe.h"
#include "sel/IpmiIfcSel.h"
#include "sel/SelCommands.h"

#include <algorithm>
#include <bitset>
#include <cstdlib>
#include <optional>

namespace Ipmi
{

std::atomic<int> KEEP_SEL_NUMBER{200};

namespace
{

using RecordIds = std::bitset<0x10000>;

/// Reads one record, from its end towards its start.
class SelRecordRead
{
public:
    SelRecordRead(int node, std::uint16_t recordId, std::uint16_t reservation)
        : node_(node), recordId_(recordId), exchange_(node, kGetSelEntry, reservation)
    {
    }

    /// @return 0 or -1
    int run();
    /// Completion code of the answer that counted last.
    std::uint8_t code() const { return code_; }
    const sel_event_record& record() const { return record_; }
    std::uint16_t nextId() const { return exchange_.nextId(); }

private:
    static constexpr std::size_t kSize = sizeof(sel_event_record::bytes);
    static_assert(kSize + RecordExchange::kRecord <= kAnswerRoom);

    bool readPiece();
    bool isGood(std::size_t count) const;
    void recover();
    void renewReservation();

    int node_;
    std::uint16_t recordId_;
    RecordExchange exchange_;
    sel_event_record record_;
    std::size_t remaining_ = kSize;
    std::size_t piece_ = kSize; ///< only shrinks
    std::uint8_t code_ = kNoAnswer;
};

int SelRecordRead::run()
{
    while (remaining_ > 0)
        if (!readPiece())
            return -1;
    return 0;
}

bool SelRecordRead::readPiece()
{
    for (int attempt = 0; attempt < SelRetries::kPieceAttempts; ++attempt) {
        const std::size_t count = std::min(piece_, remaining_), offset = remaining_ - count;
        exchange_.send(recordId_, offset, count);
        if (isGood(count)) {
            std::ranges::copy(exchange_.record(), record_.bytes + offset);
            remaining_ = offset;
            return true;
        }
        recover();
    }
    return false;
}

bool SelRecordRead::isGood(std::size_t count) const
{
    const Response& answer = exchange_.answer();
    if (!answer || answer->cc != 0 || answer->datalen != static_cast<int>(count + RecordExchange::kRecord))
        return false;
    // The first two bytes of every piece are taken for the record's id, wherever the piece starts: this is meant.
    return recordId_ == kFirstSelRecord || answer.le16(RecordExchange::kRecord) == recordId_;
}

void SelRecordRead::recover()
{
    code_ = exchange_.answer() ? exchange_.answer()->cc : kNoAnswer;
    if (!exchange_.answer())
        return;
    const std::uint8_t cc = code_;
    exchange_.dropAnswer();
    if (cc == 0)
        backOff(node_);
    else if (cc == kCcReservationLost)
        renewReservation();
    else if (cc == kCcTooManyBytes || cc == kCcInvalidLength)
        piece_ = std::max<std::size_t>(piece_ - 1, 1);
    else if (cc == kCcNodeBusy)
        pause(node_, SelRetries::kBusy);
}

void SelRecordRead::renewReservation()
{
    backOff(node_);
    const bool renewed = IpmiIfcSelReserve(node_) == 0;
    exchange_.setReservation(renewed ? selReservation(node_) : std::uint16_t{0});
    backOff(node_);
}

std::uint16_t idOf(const sel_event_record& record)
{
    return static_cast<std::uint16_t>(record.bytes[0] | record.bytes[1] << 8);
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
    return id == kFirstSelRecord ? Last::unknown : Last::same;
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
    SelRecordRead read(node, entry->recordId, selReservation(node));
    if (read.run() != 0) {
        entry->cc = read.code();
        return -1;
    }
    *entry = {0, read.nextId(), read.record()};
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
            if (budget == 1 || ++failures == SelRetries::kRecordFailures)
                return 0;
            continue;
        }
        failures = 0;
        if (const auto limit = firstLimit(budget)) {
            if (*limit == 0)
                return 0;
            if (entry.recordId != kNoMoreSelRecords) { // else this is the only one, and the info was wrong
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
        if (entry.recordId == kNoMoreSelRecords || budget == 1 || seen.test(entry.recordId))
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
        return lastId != 0 && entry.cc == kCcNotPresent ? kCcNotPresent : -1;
    switch (compareLast(node, lastId, entry.record)) {
    case Last::another:
        return kCcNotPresent;
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
    while (entry.recordId != kNoMoreSelRecords && !seen.test(entry.recordId)) {
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
