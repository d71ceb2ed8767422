// SPDX-License-Identifier: Apache-2.0
// Plain records shared by the library's calls: requests, replies, repository info, entity keys.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/LittleEndian.h"

#include <cstdint>

namespace Ipmi
{

/// Number of nodes: node N is the BMC behind /dev/ipmi<N>, N in 0..3.
inline constexpr int kNodeCount = 4;

/// The message of a request, laid out as the Linux driver's `struct ipmi_msg`.
struct ipmiifc_msg {
    std::uint8_t netfn = 0;
    std::uint8_t cmd = 0;
    std::uint16_t data_len = 0;
    std::uint8_t* data = nullptr; ///< owned by the caller
};

/// A request, laid out as the Linux driver's `struct ipmi_req`. The transport makes the address itself:
/// `addr` and `addr_len` are ignored.
struct ipmiifc_req {
    std::uint8_t* addr = nullptr;
    std::uint32_t addr_len = 0;
    long msgid = 0;
    ipmiifc_msg msg;
};

/// Room for answer bytes in a reply; the driver cuts longer answers.
inline constexpr int kAnswerRoom = 32;

/// A reply. Whoever holds the pointer owns it; freed with IpmiIfcRespDel.
struct ipmiifc_resp {
    std::int32_t datalen = 0;            ///< answer bytes received, completion code included
    std::uint8_t data[kAnswerRoom] = {}; ///< data[0] is the completion code
    std::int32_t node = 0;               ///< node that answered; set only with a good answer
    ipmiifc_req req;                     ///< the request answered, with copies of address and data, when asked for
    std::uint8_t cc = 0;                 ///< completion code; 0xFF when no answer came
};

/// Frees a reply with everything that it owns, and nulls the pointer. @return 0; -1 when there is nothing to free
TRX_IPMI_API int IpmiIfcRespDel(ipmiifc_resp** r);

/// Answer of Get SDR Repository Info (IPMI 2.0, 33.9), completion code first; all zero before the first one.
struct ipmiifc_sdr_info {
    std::uint8_t bytes[15] = {};

    std::uint8_t version() const { return bytes[1]; }
    std::uint16_t recordCount() const { return le16(bytes + 2); }
    std::uint16_t freeSpace() const { return le16(bytes + 4); }
};

/// Answer of Get SEL Info (IPMI 2.0, 31.2), completion code first; all zero before the first one.
struct ipmiifc_sel_info {
    std::uint8_t bytes[15] = {};

    std::uint8_t version() const { return bytes[1]; }
    std::uint16_t entryCount() const { return le16(bytes + 2); }
    /// In bytes; 0xffff stands for that many and for more.
    std::uint16_t freeSpace() const { return le16(bytes + 4); }
    /// Most recent addition and most recent erasure, in seconds on the BMC's clock; 0xffffffff: not known.
    std::uint32_t addTime() const { return le32(bytes + 6); }
    std::uint32_t eraseTime() const { return le32(bytes + 10); }
    /// Bit 7: records were lost as the log was full; bits 3..0: Delete, Partial Add, Reserve, Get Allocation Info.
    std::uint8_t operationSupport() const { return bytes[14]; }
};

/// Answer of Get SEL Allocation Info (IPMI 2.0, 31.3), completion code first; all zero before the first one.
struct ipmiifc_sel_alloc_info {
    std::uint8_t bytes[10] = {};

    /// Size of an allocation unit in bytes; 0 where the BMC does not say.
    std::uint16_t unitSize() const { return le16(bytes + 3); }
};

/// Answer of Get FRU Inventory Area Info (IPMI 2.0, 34.1), completion code first, and the device that it is of.
struct ipmiifc_fru_info {
    std::uint8_t bytes[4] = {};
    std::uint8_t deviceId = 0;

    /// Of the inventory area, in bytes.
    std::uint16_t size() const { return le16(bytes + 1); }
    /// True when the device counts in words.
    bool isByWords() const { return (bytes[3] & 0x01) != 0; }
};

/// The first eight bytes of a FRU device (FRU Information Storage Definition 1.0, common header).
struct fru_header {
    std::uint8_t bytes[8] = {};
};

/// A record of the system event log as it stands there (IPMI 2.0, 32.1).
struct sel_event_record {
    std::uint8_t bytes[16] = {};
};

/// An entity as it stands in SDRs: id and instance. Bit 7 of the instance does not count in comparisons.
struct entity_id {
    std::uint8_t id = 0;
    std::uint8_t instance = 0;

    friend bool operator==(const entity_id& a, const entity_id& b)
    {
        return a.id == b.id && (a.instance & 0x7f) == (b.instance & 0x7f);
    }
};

} // namespace Ipmi
