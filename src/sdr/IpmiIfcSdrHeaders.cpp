// SPDX-License-Identifier: Apache-2.0
// The header walk: from record to record along their next ids.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/SdrReading.h"

#include <bitset>

namespace Ipmi
{

namespace
{

constexpr PieceRule kHeaderRules[] = {{wire::cc::kReservationLost, PieceAction::kRenew}};

constexpr PiecePolicy kHeaderPolicy{
    .command = wire::kGetSdr,
    .request = PiecePolicy::recordRequest,
    .dataAt = wire::record_piece::kData,
    .largest = sizeof(ipmiifc_sdr_header),
    .attempts = kSdrAttempts,
    .mostLost = kMostLostSdrReservations,
    .takesMore = true,
    .rules = kHeaderRules,
};

/// Keeps a header under the id that was asked for.
void keep(IpmiNode& self, std::uint32_t place, std::uint16_t id, ipmiifc_sdr_header header)
{
    header.bytes[0] = wire::lowByte(id);
    header.bytes[1] = wire::highByte(id);
    TRX::WriteLock lock(self.sdrLock);
    self.repository.sdr_headers[place] = header;
}

/// Walks along the chain of ids; the array has room for `count` headers, and `stored` says how many it has then.
/// @return false when one of them could not be read
bool walk(int node, unsigned int count, unsigned int& stored)
{
    std::bitset<0x10000> seen; // a next id seen before would lead round in circles: the walk is complete then
    seen.set(wire::kLastRecord);
    int lost = 0;
    PieceReader reader(node, kHeaderPolicy, IpmiIfcSdrReservation(node), lost,
                       [node] { return renewSdrReservation(node); });
    for (std::uint16_t id = wire::kFirstRecord; stored < count && !seen.test(id); id = reader.nextId()) {
        ipmiifc_sdr_header header;
        if (reader.read(id, 0, header.bytes) != PieceReader::End::kRead)
            return false;
        keep(g_IpmiNode[node], stored++, id, header);
        seen.set(id);
    }
    return true;
}

} // namespace

int IpmiIfcSdrGetHeaders(int node)
{
    if (!isNode(node))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReentrantLock load(self.loadLock); // the array is its holder's: sdrLock is let go of between the exchanges
    unsigned int count = 0, stored = 0;
    {
        TRX::WriteLock lock(self.sdrLock);
        count = self.repository.sdr_info.recordCount();
        if (!self.repository.makeHeaders(count)) {
            TRX::log(LOG_ERR, "IpmiIfcSdrGetHeaders: failed alloc memory size = %d",
                     static_cast<int>(count * sizeof(ipmiifc_sdr_header)));
            return -1;
        }
    }
    const bool whole = walk(node, count, stored);
    TRX::WriteLock lock(self.sdrLock);
    self.repository.header_cnt = stored;
    if (!whole) {
        TRX::log(LOG_DEBUG, "IpmiIfcSdrGetHeaders: retry expired.");
        return -1;
    }
    self.repository.sdr_headers_valid = 1;
    return 0;
}

} // namespace Ipmi
