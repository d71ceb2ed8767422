// SPDX-License-Identifier: Apache-2.0
// What a node knows of its system event log, and who wants to hear of new events.
#pragma once

#include "ipmi/IpmiIfc.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Ipmi
{

struct SelHandler {
    SelEventHandler function;
    void* argument;
    unsigned int serial; ///< tells a registration from a later one of the same function
};

struct SelCache {
    using Records = std::vector<TRX::Reference<IpmiSelData>>;

    ipmiifc_sel_info info;
    ipmiifc_sel_alloc_info allocation;
    std::array<std::uint8_t, 3> reservation{}; ///< completion code and id
    std::uint16_t lastRecordId = 0;            ///< of the record appended last; 0 after a full reload starts
    Records records;                           ///< oldest first
    bool isStale = false;          ///< records were erased, whatever the erasure time says: it counts whole seconds
    std::uint32_t latestEvent = 0; ///< time of the newest event, while
    bool isInOrder = true;         ///< no event has an earlier time than one before it
    TRX::Reference<IpmiSel> summary;
    std::vector<SelHandler> handlers; ///< called in this order: registered last, first
    unsigned int registrations = 0;

    std::uint16_t reservationId() const { return le16(reservation[1], reservation[2]); }
    /// The record appended last, where it has this id; null when nothing was read, which the id 0 may also stand for.
    const IpmiSelData* last(std::uint16_t id) const;
    /// Where the first event may be that is newer than `since`: records before it are none.
    std::size_t firstNewer(std::uint32_t since) const;
    /// Room for so many records.
    void reserve(std::size_t count);
    /// Appends a record. @return false when memory ran out
    bool append(const sel_event_record& record, int node);
    /// Takes all records out.
    Records takeRecords();
    /// Drops the oldest records beyond `most`.
    void trim(std::size_t most);
    /// Takes over a new info and makes the summary from it. @return the summary before
    TRX::Reference<IpmiSel> setInfo(const ipmiifc_sel_info& newInfo, int node);
    /// Back to nothing known and nobody listening; records and summary stay.
    void beginLife();
};

} // namespace Ipmi
