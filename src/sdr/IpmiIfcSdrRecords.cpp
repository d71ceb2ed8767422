// Reading whole records, piece by piece, and filing them.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "node/RecordExchange.h"
#include "node/SignalPipe.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/SdrCommands.h"

#include <algorithm>
#include <memory>
#include <new>
#include <span>

namespace Ipmi
{

namespace
{

/// Reads one record into a buffer, from its end towards its start.
class RecordRead
{
public:
    /// `lost` counts the reservations lost in the walk that this read belongs to.
    RecordRead(int node, std::uint16_t recordId, std::span<std::uint8_t> buffer, int& lost)
        : node_(node), recordId_(recordId), buffer_(buffer), lost_(lost),
          exchange_(node, kGetSdr, IpmiIfcSdrReservation(node))
    {
    }

    /// @return 0 or -1
    int run();

private:
    enum class Outcome { good, failed, hopeless };
    static constexpr std::size_t kLargestPiece = 16, kQuietlyShrunk = 8;
    static_assert(kLargestPiece + RecordExchange::kRecord <= kAnswerRoom);

    Outcome readPiece();
    Outcome failed(unsigned code);
    Outcome badLength(std::size_t expected);
    void renewReservation();

    int node_;
    std::uint16_t recordId_;
    std::span<std::uint8_t> buffer_; ///< what is still to be read
    int& lost_;
    RecordExchange exchange_;
    std::size_t piece_ = kLargestPiece; ///< only shrinks
};

int RecordRead::run()
{
    bool expired = buffer_.empty(); // an empty record is called expired: this is meant
    for (int attempts = 0; !buffer_.empty() && !expired;) {
        const Outcome outcome = readPiece();
        if (outcome == Outcome::hopeless)
            return -1;
        attempts = outcome == Outcome::good ? 0 : attempts + 1;
        expired = attempts == SdrRetries::kAttempts || lost_ >= SdrRetries::kLostReservations;
    }
    if (expired)
        TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: retry expired.");
    return expired ? -1 : 0;
}

RecordRead::Outcome RecordRead::readPiece()
{
    const std::size_t count = std::min(piece_, buffer_.size());
    const std::size_t offset = buffer_.size() - count;
    exchange_.send(recordId_, offset, count);
    const Response& answer = exchange_.answer();
    if (!answer)
        return Outcome::failed;
    if (answer->cc != 0)
        return failed(answer->cc);
    if (exchange_.record().size() != count)
        return badLength(count + RecordExchange::kRecord);
    std::ranges::copy(exchange_.record(), buffer_.subspan(offset).begin());
    buffer_ = buffer_.first(offset);
    return Outcome::good;
}

RecordRead::Outcome RecordRead::failed(unsigned code)
{
    exchange_.dropAnswer();
    switch (code) {
    case kCcReservationLost:
        renewReservation();
        return Outcome::failed;
    case kCcNotPresent:
        TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: sensor not found, record id: %X", recordId_);
        return Outcome::hopeless;
    case kCcTooManyBytes:
    case kCcInvalidLength:
        piece_ = std::max<std::size_t>(piece_ - 1, 1);
        if (piece_ > kQuietlyShrunk)
            return Outcome::failed;
        break;
    default:
        break;
    }
    TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId:record id: %X, error %d. Try again...", recordId_,
             static_cast<int>(code));
    return Outcome::failed;
}

RecordRead::Outcome RecordRead::badLength(std::size_t expected)
{
    TRX::log(LOG_ERR, "IpmiIfcSdrReadRecordId: data length mismatch req=%d,resp=%d", static_cast<int>(expected),
             exchange_.answer()->datalen);
    exchange_.dropAnswer();
    backOff(node_);
    return Outcome::failed;
}

void RecordRead::renewReservation()
{
    if (++lost_ >= SdrRetries::kLostReservations)
        return;
    backOff(node_);
    IpmiIfcSdrReserve(node_);
    exchange_.setReservation(IpmiIfcSdrReservation(node_));
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
    LoadScope load(self.loadGuard);
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
        const int result = RecordRead(node, entry->record_id, {entry->data, entry->length}, lost).run();
        lock.lock();
        if (result == 0)
            IpmiIfcSdrListAdd(node, entry.release());
        if (lost >= SdrRetries::kLostReservations)
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
    return RecordRead(node, recordId, {buf, len}, lost).run();
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
