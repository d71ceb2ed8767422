// SPDX-License-Identifier: Apache-2.0
// One record of the system event log, and what it means in words.
#pragma once

#include "ipmi/CmpiDateTime.h"
#include "ipmi/Export.h"
#include "ipmi/IpmiRecords.h"

#include <string>

namespace Ipmi
{

/// A record as read (IPMI 2.0, 32.1). Never changes; unless a member says otherwise it may be used from any thread,
/// sends nothing and throws nothing. "Event records" are those of types 00h and 02h.
class TRX_IPMI_API IpmiSelData
{
public:
    /// Copies the 16 bytes; null gives zeros.
    IpmiSelData(const sel_event_record* record, int node);

    unsigned short recordId() const;
    unsigned char recordType() const;
    bool isSelEventRecord() const;
    /// 0 unless an event record.
    unsigned char getSensorNumber() const;
    /// Slave address or software id in the low byte, LUN and channel in the high one (IPMI 2.0, table 32-1); 0 unless
    /// an event record.
    unsigned short getGeneratorId() const;
    /// Seconds on the BMC's clock; 0xffffffff for records without a time.
    unsigned int messageTimeStamp() const;
    /// The same as a point in time; as the interval since the BMC's start for values up to 0x20000000; unknown for
    /// 0xffffffff. Throws CmpiStatus with the broker's status when it fails.
    CmpiDateTime getCmpiDateTime() const;
    /// Event/reading type code (IPMI 2.0, table 42-1), 0..127; -1 unless an event record.
    int eventType() const;
    /// CIM PerceivedSeverity of a threshold event: 5 minor for non-critical, 6 major for critical, 7 fatal for
    /// non-recoverable ones; 0 unknown for all others.
    unsigned int severity() const;
    /// CIM AlertType: 5 device, 6 environmental, 8 security alert; 0 for records that have none.
    unsigned int alertType() const;
    /// "Assert + " or "Deassert + ", the sensor type's name and the event's; empty for records that have none.
    std::string caption() const;
    /// Always empty.
    std::string description() const;
    /// Names and types of what recordDataString() lists; empty unless an event record.
    std::string messageFormat() const;
    /// The record's bytes as decimal numbers between "*"; 16 values, two more than messageFormat() names (this is
    /// meant).
    std::string recordDataString() const;
    /// A record number as text: at least four digits; "Invalid" for 0.
    static std::string recordId(int number);
    /// The record's bytes.
    const sel_event_record& rawRecord() const { return record_; }

    /// Sends Delete SEL Entry without data and takes the two bytes of its answer as a reservation: this is meant,
    /// though a BMC that goes by the standard refuses. Blocks.
    /// @param id  out: the reservation; untouched unless the result is 0
    /// @return 0; 1 when the BMC does not know the command (C1h, CDh); 4 without an answer, or with one too short for a
    /// reservation; 5 for any other answer
    int reserve(unsigned short& id) const;
    /// Deletes this record from the log under the reservation that reserve() gives; sends nothing more where that
    /// fails. IpmiIfc::deleteSelEntry reserves as the standard says. Blocks.
    /// @return as reserve()
    int clear() const;

private:
    sel_event_record record_;
    int node_;
};

} // namespace Ipmi
