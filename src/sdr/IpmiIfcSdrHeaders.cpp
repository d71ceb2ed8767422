// The header walk: from record to record along their next ids.
#include "base/Log.h"
#include "node/IpmiNode.h"
#include "node/RecordExchange.h"
#include "node/SignalPipe.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/SdrCommands.h"

#include <algorithm>
#include <bitset>

namespace Ipmi
{

namespace
{

constexpr std::uint16_t kFirstRecord = 0x0000, kLastRecord = 0xffff;

/// Takes the header out of a good answer, under the id that was requested.
/// @return false when the answer is none
bool takeHeader(const RecordExchange& exchange, std::uint16_t id, ipmiifc_sdr_header& header)
{
    const auto bytes = exchange.record();
    if (!exchange.answer() || exchange.answer()->cc != 0 || bytes.size() < sizeof header.bytes)
        return false;
    std::copy_n(bytes.begin(), sizeof header.bytes, header.bytes);
    header.bytes[0] = static_cast<std::uint8_t>(id);
    header.bytes[1] = static_cast<std::uint8_t>(id >> 8);
    return true;
}

} // namespace

int IpmiIfcSdrGetHeaders(int node)
{
    if (!isNode(node))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    LoadScope load(self.loadGuard);
    TRX::WriteLock lock(self.sdrLock);
    const unsigned count = self.repository.sdr_info.recordCount();
    if (!self.repository.makeHeaders(count)) {
        TRX::log(LOG_ERR, "IpmiIfcSdrGetHeaders: failed alloc memory size = %d",
                 static_cast<int>(count * sizeof(ipmiifc_sdr_header)));
        return -1;
    }

    RecordExchange exchange(node, kGetSdr, self.repository.reservation());
    std::bitset<0x10000> seen; // a next id seen before would lead round in circles: the walk is complete then
    seen.set(kLastRecord);
    std::uint16_t id = kFirstRecord;
    unsigned stored = 0;
    int attempts = 0, lost = 0;
    while (stored < count && !seen.test(id) && attempts < SdrRetries::kAttempts &&
           lost < SdrRetries::kLostReservations) {
        exchange.send(id, 0, sizeof(ipmiifc_sdr_header));
        if (takeHeader(exchange, id, self.repository.sdr_headers[stored])) {
            ++stored;
            seen.set(id);
            id = exchange.nextId();
            attempts = 0;
            continue;
        }
        ++attempts;
        const bool renew = exchange.lostReservation() && ++lost < SdrRetries::kLostReservations;
        exchange.dropAnswer();
        if (renew) {
            backOff(node); // the lock is kept meanwhile
            lock.unlock();
            IpmiIfcSdrReserve(node);
            lock.lock();
            exchange.setReservation(self.repository.reservation());
        }
    }

    self.repository.header_cnt = stored;
    if (stored < count && !seen.test(id)) {
        TRX::log(LOG_DEBUG, "IpmiIfcSdrGetHeaders: retry expired.");
        return -1;
    }
    self.repository.sdr_headers_valid = 1;
    return 0;
}

} // namespace Ipmi
