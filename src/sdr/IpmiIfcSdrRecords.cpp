// SPDX-License-Identifier: Apache-2.0
// Reading whole records, piece by piece, and filing them.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/SdrReading.h"

#include <memory>
#include <new>
#include <span>

namespace Ipmi
{

namespace
{

constexpr PieceRule kRecordRules[] = {
    {wire::cc::kReservationLost, PieceAction::kRenew}, {wire::cc::kNotPresent, PieceAction::kGiveUp},
    {wire::cc::kTooManyBytes, PieceAction::kShrink},   {wire::cc::kInvalidLength, PieceAction::kShrink},
    {PieceRule::kMisfit, PieceAction::kBackOff},
};

constexpr PiecePolicy kRecordPolicy{
    .command = wire::kGetSdr,
    .request = PiecePolicy::recordRequest,
    .dataAt = wire::record_piece::kData,
    .largest = 16,
    .attempts = kSdrAttempts,
    .mostLost = kMostLostSdrReservations,
    .fromEnd = true,
    .rules = kRecordRules,
};

void logFailure(const PieceReader::Failure& failure)
{
    constexpr std::size_t kQuietlyShrunk = 8;
    switch (failure.code) {
    case Answer::kNone:
    case wire::cc::kReservationLost:
        return;
    case PieceRule::kMisfit:
        TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: data length mismatch req=%d,resp=%d",
                 static_cast<int>(failure.expected), failure.received);
        return;
    case wire::cc::kNotPresent:
        TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: sensor not found, record id: %X", failure.record);
        return;
    case wire::cc::kTooManyBytes:
    case wire::cc::kInvalidLength:
        if (failure.piece > kQuietlyShrunk)
            return;
        break;
    default:
        break;
    }
    TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId:record id: %X, error %d. Try again...", failure.record, failure.code);
}

/// Reads one record. @param lost  reservations lost in the walk that this read belongs to. @return 0 or -1
int readRecord(int node, std::uint16_t recordId, std::span<std::uint8_t> into, int& lost)
{
    PieceReader reader(
        node, kRecordPolicy, IpmiIfcSdrReservation(node), lost, [node] { return renewSdrReservation(node); },
        logFailure);
    const PieceReader::End end = into.empty() ? PieceReader::End::kExpired // so called too: this is meant
                                              : reader.read(recordId, 0, into);
    if (end == PieceReader::End::kExpired)
        TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: retry expired.");
    return end == PieceReader::End::kRead ? 0 : -1;
}

/// Bytes of the whole record; 0, which cannot be read, where they do not fit in the 8 bits of an entry's length.
std::uint8_t recordSize(const ipmiifc_sdr_header& header)
{
    const std::size_t size = header.length() + sizeof(ipmiifc_sdr_header);
    return size <= 0xff ? static_cast<std::uint8_t>(size) : std::uint8_t{0};
}

struct FreeEntry {
    void operator()(ipmiifc_sdr_list* entry) const { freeEntry(entry); }
};
using Entry = std::unique_ptr<ipmiifc_sdr_list, FreeEntry>;

/// An entry with room for the record of `header`; null when memory ran out.
Entry newEntry(const ipmiifc_sdr_header& header)
{
    Entry entry(new (std::nothrow) ipmiifc_sdr_list);
    if (!entry)
        return nullptr;
    entry->record_id = header.recordId();
    entry->record_type = header.type();
    entry->length = recordSize(header);
    entry->data = new (std::nothrow) std::uint8_t[entry->length];
    return entry->data ? std::move(entry) : nullptr;
}

} // namespace

int IpmiIfcSdrReadAll(int node)
{
    if (!isNode(node))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock);
    TRX::WriteLock lock(self.sdrLock);
    if (self.repository.header_cnt == 0 || !self.repository.sdr_headers) {
        TRX::log(LOG_ERR, "%s: header_cnt == 0 or no header data", "IpmiIfcSdrReadAll");
        return -1;
    }
    int lost = 0;
    for (std::uint32_t i = 0; i < self.repository.header_cnt && !self.repository.full(); ++i) {
        Entry entry = newEntry(self.repository.sdr_headers[i]);
        if (!entry) {
            TRX::log(LOG_ERR, "%s: failed memory alloc.", "IpmiIfcSdrReadAll");
            return -1;
        }
        lock.unlock(); // readers may run between records
        const int result = readRecord(node, entry->record_id, {entry->data, entry->length}, lost);
        lock.lock();
        if (result == 0)
            IpmiIfcSdrListAdd(node, entry.release());
        if (lost >= kMostLostSdrReservations)
            return -1;
    }
    if (self.repository.full())
        TRX::log(LOG_WARNING, "%s: %u records kept, no more", "IpmiIfcSdrReadAll", SdrRepository::kMostEntries);
    return 0;
}

int IpmiIfcSdrReadRecordId(int node, unsigned short recordId, unsigned char* buf, unsigned char len)
{
    if (!isNode(node) || (!buf && len != 0))
        return -1;
    int lost = 0;
    return readRecord(node, recordId, {buf, len}, lost);
}

int IpmiIfcSdrListAdd(int node, ipmiifc_sdr_list* entry) TRX_NO_THREAD_SAFETY_ANALYSIS
{
    if (!entry)
        return -1;
    if (!isNode(node) || g_IpmiNode[node].repository.full()) {
        freeEntry(entry);
        return -1;
    }
    SdrRepository& repository = g_IpmiNode[node].repository;
    repository.push(entry);
    while (shareCount(*entry) >= 2) {
        if (repository.full())
            return -1;
        entry = nextShared(*entry);
        if (!entry) {
            TRX::log(LOG_ERR, "IpmiIfcSdrListAdd: failed memory alloc.");
            return -1;
        }
        repository.push(entry);
    }
    return 0;
}

} // namespace Ipmi
