// SPDX-License-Identifier: Apache-2.0
// The raw bytes of one Sensor Data Record.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/LittleEndian.h"

#include <cstdint>

namespace Ipmi
{

/// A Sensor Data Record (IPMI 2.0, section 43), header included, in at most 64 bytes. A plain value.
class TRX_IPMI_API IpmiSdrRecord
{
public:
    static constexpr unsigned int kCapacity = 64;

    IpmiSdrRecord() = default;
    /// Keeps the first min(len, 64) bytes of `data` (null counts as no bytes).
    IpmiSdrRecord(unsigned int len, const unsigned char* data);
    IpmiSdrRecord(const IpmiSdrRecord& other);
    IpmiSdrRecord& operator=(const IpmiSdrRecord& other);
    ~IpmiSdrRecord() = default;

    /// Replaces the record. A record of more than 64 bytes is refused: it is logged, all bytes become 0, and `length`
    /// still says `len`.
    /// @return true when the record was refused
    bool set(unsigned int len, const unsigned char* data);

    /// Byte `index`, or 0 beyond the record.
    std::uint8_t at(unsigned int index) const
    {
        return index < length && index < kCapacity ? bytes[index] : std::uint8_t{0};
    }
    /// Two bytes from `index`, LS byte first; bytes beyond the record are 0.
    std::uint16_t le16(unsigned int index) const { return Ipmi::le16(at(index), at(index + 1)); }

    unsigned int length = 0;
    unsigned char bytes[kCapacity] = {};
};

} // namespace Ipmi
