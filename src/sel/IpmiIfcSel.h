// SPDX-License-Identifier: Apache-2.0
// Reader of the system event log (IPMI 2.0, section 31) and hand-over of new events.
#pragma once

#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"
#include "sel/SelCache.h"

#include <cstdint>
#include <functional>

namespace Ipmi
{

/// One Get SEL Entry exchange.
struct ipmiifc_sel_entry {
    std::uint8_t cc = 0;        ///< completion code of the last answer, FFh without one
    std::uint16_t recordId = 0; ///< in: the record to read; out: the next one, FFFFh when there is none
    sel_event_record record;
};

// All of these take the node's selLock themselves: its holder must not call them. Those that return an int return 0 or
// -1 (-2 for a node outside 0..3 where it is said); what went wrong is logged.

/// Handlers of the log's info: take over what changed, and have new events handled. Inside a handler's own check they
/// change nothing. What a handler throws passes through.
int IpmiIfcRhSelInfo(ipmiifc_resp* resp, unsigned short* count);
int IpmiIfcRhSelInfoNoCount(ipmiifc_resp* resp);
/// Handler of the allocation info: stores it.
int IpmiIfcRhSelGetAllocInfo(ipmiifc_resp* resp);
/// Takes a reservation; a failed one leaves the old in place.
int IpmiIfcSelReserve(int node);
/// Id of the reservation taken last; 0 before the first.
std::uint16_t selReservation(int node);
/// Reads one record; after a failure all of `entry` but its completion code is as it was.
int IpmiIfcSelReadEntry(int node, ipmiifc_sel_entry* entry);
/// Appends the whole log to the cache, the info fetched first where there is none.
int IpmiIfcSelGetAll(int node);
/// Appends as many records as the info says, from the first on; the process's first load keeps the newest only.
int IpmiIfcSelReadAll(int node);
/// Appends what follows the record with id `lastId`; from the first record on where that is 0 and nothing was read.
/// @return 0 or -1; CBh when the log has no record `lastId` any more, or another under that id
int IpmiIfcSelReadNew(int node, unsigned short lastId);
/// Calls the handlers for each cached event that is newer than `since`; for each one where that is FFFFFFFFh. @return 0
int IpmiIfcSelGenerateEvents(int node, unsigned int since);
/// Has `call` call each handler. Handlers may register and unregister any: those that go before their turn are not
/// called.
void forEachSelHandler(int node, const std::function<void(const SelHandler&)>& call);
/// True for a thread in a handler's call, of whatever node.
bool isInSelHandler();
/// Frees all handlers.
void IpmiIfcSelCleanUpEventHandlers(int node);
/// Drops the records and the summary.
void dropSelRecords(int node);

} // namespace Ipmi
