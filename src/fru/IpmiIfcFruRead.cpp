// SPDX-License-Identifier: Apache-2.0
// Reading the bytes of a FRU device, in pieces that shrink.
#include "base/Log.h"
#include "fru/IpmiIfcFru.h"
#include "transport/Channel.h"
#include "transport/PieceReader.h"
#include "wire/AnswerLayout.h"
#include "wire/FruLayout.h"

#include <span>

namespace Ipmi
{

std::atomic<int> fru_max_req_size{kMostFruBytesAtOnce};

namespace
{

constexpr std::size_t kLeastAtOnce = 8;

wire::Writer request(const Piece& piece, unsigned int count)
{
    wire::Writer writer;
    writer.u8(piece.record).le16(static_cast<unsigned int>(piece.offset));
    return writer.u8(count);
}

wire::Writer byBytes(const Piece& piece)
{
    return request(piece, static_cast<unsigned int>(piece.count));
}

/// The offset counts bytes all the same: this is meant.
wire::Writer byWords(const Piece& piece)
{
    return request(piece, static_cast<unsigned int>(piece.count + 1) / 2);
}

constexpr PieceRule kRules[] = {
    {wire::cc::kTooManyBytes, PieceAction::kShrink}, {wire::cc::kInvalidLength, PieceAction::kShrink},
    {wire::cc::kInvalidField, PieceAction::kShrink}, {wire::cc::kNodeBusy, PieceAction::kWaitLonger},
    {wire::cc::kTimeout, PieceAction::kWaitLonger},
};

PiecePolicy policyOf(bool words)
{
    return {
        .command = wire::kReadFru,
        .request = words ? byWords : byBytes,
        .dataAt = wire::fru_data::kData,
        .largest = static_cast<std::size_t>(fru_max_req_size.load()),
        .attempts = 5,
        .mostLost = 1, // there are no reservations
        .takesMore = true,
        .countAt = wire::fru_data::kCount,
        .mostEmpty = 16,
        .shrinksFreely = true,
        .smallest = kLeastAtOnce,
        .insistsOnceBegun = true,
        .lastOffset = 0xffff,
        .pause = std::chrono::seconds(1),
        .otherwise = PieceAction::kGiveUp,
        .rules = kRules,
    };
}

/// As a device that counts in words has it: offset, count and what it says of its answer are words.
wire::Writer wordsByWords(const Piece& piece)
{
    wire::Writer writer;
    writer.u8(piece.record).le16(static_cast<unsigned int>(piece.offset / 2));
    return writer.u8(static_cast<unsigned int>(piece.count + 1) / 2);
}

PiecePolicy wordPolicy()
{
    PiecePolicy policy = policyOf(true);
    policy.request = wordsByWords;
    policy.countAt.reset();
    policy.largest = 16;
    policy.halves = true;
    policy.smallest = 2;
    return policy;
}

void report(const PieceReader::Failure& failure, const PiecePolicy& policy)
{
    if (failure.action == PieceAction::kShrink) {
        if (!policy.halves)
            fru_max_req_size = static_cast<int>(failure.piece);
        TRX::log(LOG_NOTICE, "IpmiIfcReadFru: Command failed with 0x%x, retrying with smaller buffer (0x%x)",
                 failure.code, static_cast<int>(failure.piece));
    }
    if (failure.action == PieceAction::kWaitLonger && failure.attempts < policy.attempts)
        TRX::log(LOG_NOTICE, "IpmiIfcReadFru: Timeout on 0x%x cc=0x%x after reading some data... retrying %d",
                 failure.record, failure.code, failure.attempts);
}

void logCorrupt(const PieceReader& reader)
{
    const Answer& answer = reader.answer();
    TRX::log(LOG_NOTICE,
             "IpmiIfcReadFru: Response payload larger than expected (corrupt?) datalen: 0x%x, data[1]: 0x%x > 0x%x",
             answer.length(), answer.at(wire::fru_data::kCount), static_cast<int>(reader.piece().count));
    for (std::size_t i = 0; i < answer.bytes().size(); ++i)
        TRX::log(LOG_DEBUG, "IpmiIfcReadFru: data[0x%x] = 0x%x", static_cast<int>(i), answer.bytes()[i]);
}

/// Says why a reading ended before its end. @return the result of IpmiIfcReadFru
int explain(int node, int deviceId, const PieceReader& reader, PieceReader::End end)
{
    const Answer& answer = reader.answer();
    if (end == PieceReader::End::kTooFar) {
        TRX::log(LOG_NOTICE, "IpmiIfcReadFru: deviceID = 0x%x, bytes left to read = %d", deviceId,
                 static_cast<int>(reader.left()));
        return -1;
    }
    if (!answer.answered()) {
        TRX::log(LOG_NOTICE, "Node %d: IpmiIfcReadFru: deviceID = 0x%x - failed to fetch data", node, deviceId);
        return -1;
    }
    if (answer.code() == wire::cc::kOk) {
        logCorrupt(reader);
        return -1;
    }
    TRX::log(LOG_NOTICE, "IpmiIfcReadFru: deviceID = 0x%x, bytes left to read = %d", deviceId,
             static_cast<int>(reader.left()));
    TRX::log(LOG_NOTICE, "IpmiIfcReadFru: Failed during send cc = 0x%x", answer.code());
    return answer.code();
}

int read(int node, const PiecePolicy& policy, unsigned char deviceId, unsigned int offset,
         std::span<unsigned char> into, unsigned int& stored)
{
    int lost = 0;
    PieceReader reader(
        node, policy, 0, lost, [] { return std::uint16_t{0}; },
        [&policy](const PieceReader::Failure& failure) { report(failure, policy); });
    const PieceReader::End end = reader.read(deviceId, offset, into);
    stored = static_cast<unsigned int>(into.size() - reader.left());
    return end == PieceReader::End::kRead ? 0 : explain(node, deviceId, reader, end);
}

} // namespace

int IpmiIfcReadFru(int node, unsigned char deviceId, unsigned char devAccessWord, int offset, unsigned int* length,
                   unsigned char* buffer)
{
    if (!isNode(node) || !length || offset < 0 || (buffer == nullptr) != (*length == 0) || *length == 0) {
        TRX::log(LOG_ERR,
                 "Node %d: IpmiIfcReadFru invalid parameter,device_id=0x%x,devAccessWord=0x%x,offset=%d,length=%d",
                 node, deviceId, devAccessWord, offset, length ? static_cast<int>(*length) : 0);
        return -1;
    }
    return read(node, policyOf(devAccessWord != 0), deviceId, static_cast<unsigned int>(offset), {buffer, *length},
                *length);
}

int readFruInWords(int node, unsigned char deviceId, unsigned int offset, unsigned int* length, unsigned char* buffer)
{
    return read(node, wordPolicy(), deviceId, offset, {buffer, *length}, *length);
}

} // namespace Ipmi
