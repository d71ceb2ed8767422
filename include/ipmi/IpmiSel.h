// SPDX-License-Identifier: Apache-2.0
// The system event log as a whole: what the BMC says of it.
#pragma once

#include "ipmi/CmpiDateTime.h"
#include "ipmi/Export.h"
#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

/// Summary of a log at the time it was last looked at. Never changes; unless a member says otherwise it may be used
/// from any thread, sends nothing and throws nothing.
class TRX_IPMI_API IpmiSel
{
public:
    /// Of a log that nobody has looked at: zeros, and both times not known.
    IpmiSel() = default;
    IpmiSel(const ipmiifc_sel_info& info, const ipmiifc_sel_alloc_info& allocation, int node);

    /// As sent: low digit is the major version, 02h is 2.0 and 51h is 1.5.
    unsigned int version() const { return version_; }
    unsigned int getCurrentNumberOfRecords() const { return records_; }
    /// Operation support (IPMI 2.0, 31.2): bit 7 overflow; bits 3..0 Delete, Partial Add, Reserve, Allocation Info.
    unsigned int getFlags() const { return flags_; }
    /// True when records were lost because the log was full.
    bool getOverFlowFlag() const { return (flags_ & 0x80) != 0; }
    /// Records that fit, those present included: of 16 bytes each, whatever the allocation unit (this is meant).
    int getMaxNumberOfRecords() const;
    /// Size of an allocation unit in bytes; 16 where the BMC does not say.
    unsigned int getAllocationUnitSize() const { return unitSize_; }

    /// Most recent addition: a point in time; the interval since the BMC's start for values up to 0x20000000; unknown
    /// for 0xffffffff. Throws CmpiStatus with the broker's status when it fails.
    CmpiDateTime getAddTimeStamp() const;
    /// Most recent erasure, likewise.
    CmpiDateTime getEraseTimeStamp() const;
    /// Seconds since 1970; 0 where it is not known or counts from the BMC's start.
    unsigned int getAddTimeStampUnix() const;
    unsigned int getEraseTimeStampUnix() const;

    /// Whether the BMC logs events (IPMI 2.0, Get BMC Global Enables, bit 3). Sends a command and blocks. Throws
    /// CmpiStatus rc 1 without a good answer.
    bool isEnabled() const;
    /// Switches logging on or off, and leaves the other enables as they are. Send two commands, block and throw
    /// likewise.
    void enable() const;
    void disable() const;
    /// As IpmiIfc::clearSel on the log's node.
    int clear() const;

private:
    unsigned int version_ = 0;
    unsigned int records_ = 0;
    unsigned int freeSpace_ = 0; ///< bytes
    unsigned int addTime_ = 0xffffffff;
    unsigned int eraseTime_ = 0xffffffff;
    unsigned int flags_ = 0;
    unsigned int node_ = 0;
    unsigned int unitSize_ = 0;
};

} // namespace Ipmi
