// Walks the repository in pieces, under a reservation that may be lost.
#include "sdr/SdrReader.h"

#include "base/Failure.h"
#include "node/CompletionCode.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <fmt/format.h>
#include <thread>

namespace Tool
{

namespace
{

constexpr std::uint8_t kStorage = 0x0a, kGetInfo = 0x20, kReserve = 0x22, kGetSdr = 0x23;
constexpr std::uint8_t kBadLength = 0xc7, kTooMuch = 0xca, kReservationLost = 0xc5;
constexpr std::uint16_t kFirstRecord = 0x0000, kLastRecord = 0xffff;

// What is tried how often before the repository counts as unreadable.
constexpr int kAttempts = 4, kWalks = 3, kLostReservations = 100;
constexpr std::chrono::milliseconds kBackOff{100};
constexpr std::size_t kMostRecords = 16384, kSmallestPiece = 1, kLastOffset = 0xff;

namespace info // Get SDR Repository Info, after the completion code
{
constexpr std::size_t kCount = 1, kTimes = 5, kTimesSize = 8, kSize = kTimes + kTimesSize;
}
namespace header // of a record
{
constexpr std::size_t kLength = 4, kSize = 5;
}

std::uint8_t low(std::uint16_t value)
{
    return static_cast<std::uint8_t>(value & 0xff);
}

std::uint8_t high(std::uint16_t value)
{
    return static_cast<std::uint8_t>(value >> 8);
}

std::uint16_t le16(const std::vector<std::uint8_t>& bytes, std::size_t index)
{
    return static_cast<std::uint16_t>(bytes.at(index) | bytes.at(index + 1) << 8);
}

[[noreturn]] void give(const std::string& doing, const std::optional<Reply>& reply)
{
    throw Failure(doing + ": " +
                  (!reply                  ? "the BMC does not answer; try again, or reset it"
                   : reply->completionCode ? "the BMC refuses: " + completionCodeText(reply->completionCode)
                                           : "the BMC's answer is too short; try again"));
}

/// The first good answer of at least `size` bytes.
Reply ask(const NodeSession& session, std::uint8_t cmd, std::size_t size, const std::string& doing)
{
    std::optional<Reply> reply;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        reply = session.send(kStorage, cmd);
        if (reply && reply->completionCode == 0 && reply->data.size() >= size)
            return *reply;
        std::this_thread::sleep_for(kBackOff);
    }
    give(doing, reply);
}

} // namespace

std::vector<std::uint8_t> SdrReader::read()
{
    Stamp before = stamp();
    for (int i = 0; i < kWalks && !before.empty; ++i) {
        Bytes all = walk();
        Stamp after = stamp();
        if (after == before)
            return all;
        before = std::move(after);
    }
    if (!before.empty)
        throw Failure("the repository changes while it is read: try again later");
    return {};
}

SdrReader::Stamp SdrReader::stamp()
{
    const Reply reply = ask(session_, kGetInfo, info::kSize, "cannot read the repository's info");
    const auto times = reply.data.begin() + info::kTimes;
    return {Bytes(times, times + info::kTimesSize), le16(reply.data, info::kCount) == 0};
}

SdrReader::Bytes SdrReader::walk()
{
    reserve();
    Bytes all;
    std::set<std::uint16_t> seen;
    for (std::uint16_t id = kFirstRecord; id != kLastRecord;) {
        if (!seen.insert(id).second || seen.size() > kMostRecords)
            throw Failure(fmt::format("the repository has no end: record 0x{:04x} comes again", id));
        std::uint16_t next = kLastRecord;
        const Bytes one = record(id, next);
        all.insert(all.end(), one.begin(), one.end());
        id = next;
    }
    return all;
}

SdrReader::Bytes SdrReader::record(std::uint16_t id, std::uint16_t& next)
{
    for (;;) {
        Bytes bytes;
        std::size_t size = header::kSize;
        bool whole = true;
        while (whole && bytes.size() < size) {
            whole = appendPiece(bytes, id, std::min(piece_, size - bytes.size()), next);
            if (bytes.size() == header::kSize)
                size = header::kSize + bytes[header::kLength];
        }
        if (whole)
            return bytes;
        lostReservation(); // what was read of the record may be of another one now
    }
}

/// False when the reservation was lost.
bool SdrReader::appendPiece(Bytes& record, std::uint16_t id, std::size_t size, std::uint16_t& next)
{
    const std::string doing = fmt::format("cannot read record 0x{:04x}", id);
    if (record.size() > kLastOffset)
        throw Failure(doing + ": it is longer than the BMC can be asked for");
    std::optional<Reply> reply;
    for (int failures = 0; failures < kAttempts;) {
        const std::array<std::uint8_t, 6> request{low(reservation_),
                                                  high(reservation_),
                                                  low(id),
                                                  high(id),
                                                  static_cast<std::uint8_t>(record.size()),
                                                  static_cast<std::uint8_t>(size)};
        reply = session_.send(kStorage, kGetSdr, request);
        const std::uint8_t code = reply ? reply->completionCode : std::uint8_t{0};
        if (reply && code == 0 && reply->data.size() == size + 2) {
            next = le16(reply->data, 0);
            record.insert(record.end(), reply->data.begin() + 2, reply->data.end());
            return true;
        }
        if (code == kReservationLost)
            return false;
        if ((code == kTooMuch || code == kBadLength) && size > kSmallestPiece) {
            piece_ = size = size / 2;
            continue;
        }
        ++failures;
        std::this_thread::sleep_for(kBackOff);
    }
    give(doing, reply);
}

void SdrReader::reserve()
{
    reservation_ = le16(ask(session_, kReserve, 2, "cannot reserve the repository").data, 0);
}

void SdrReader::lostReservation()
{
    if (++lost_ > kLostReservations)
        throw Failure("the repository's reservation is lost again and again: something else is using it, try later");
    reserve();
}

} // namespace Tool
