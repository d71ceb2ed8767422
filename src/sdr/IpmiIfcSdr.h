// SPDX-License-Identifier: Apache-2.0
// Reader of the SDR repository (IPMI 2.0, section 33).
#pragma once

#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"
#include "sdr/SdrRepository.h"

namespace Ipmi
{

// All of these but IpmiIfcSdrListAdd take the node's sdrLock themselves: its holder must not call them. Those that
// return an int return 0 or -1, what went wrong is logged. A node outside 0..3 is one that gives no answer.

/// Handler of the repository info: stores a good one, reads the whole repository, rebuilds the sensors and the
/// entities.
int IpmiIfcRhGetSdrInfo(ipmiifc_resp* resp);
/// Takes a reservation; a failed one leaves the old in place.
int IpmiIfcSdrReserve(int node);
/// Id of the reservation taken last; 0 before the first.
std::uint16_t IpmiIfcSdrReservation(int node);
/// Reads the whole repository, the info first where there is none. When the header walk fails the records before stay.
int IpmiIfcSdrGetAll(int node);
int IpmiIfcSdrGetHeaders(int node);
/// Reads the records that the headers name into the lists; a record that cannot be read is left out.
int IpmiIfcSdrReadAll(int node);
/// Reads the first `len` bytes of a record into `buf`, whose content is undefined after a failure.
int IpmiIfcSdrReadRecordId(int node, unsigned short recordId, unsigned char* buf, unsigned char len);
/// Files `entry`, which the lists then own, and one copy more for each further sensor of a shared record. The caller
/// holds the node's sdrLock for writing. @return 0; -1 when memory ran out or the lists are full: what has been filed
/// stays, `entry` is freed if it has not
int IpmiIfcSdrListAdd(int node, ipmiifc_sdr_list* entry);
void IpmiIfcSdrCleanUpHeaders(int node);
int IpmiIfcSdrCleanUpAll(int node);

} // namespace Ipmi
