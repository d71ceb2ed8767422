// Commands of the system event log (IPMI 2.0, section 31) and how often a failed one is tried again.
#pragma once

#include <chrono>
#include <cstdint>

namespace Ipmi
{

inline constexpr std::uint8_t kGetSelInfo = 0x40, kGetSelAllocInfo = 0x41, kReserveSel = 0x42, kGetSelEntry = 0x43,
                              kDeleteSelEntry = 0x46, kClearSel = 0x47, kGetSelTime = 0x48;
inline constexpr std::uint8_t kCcSelErasing = 0x81;                               ///< of Get SEL Info
inline constexpr std::uint8_t kSetLastProcessed = 0x14, kGetLastProcessed = 0x15; ///< of the sensor/event function

inline constexpr std::uint16_t kFirstSelRecord = 0x0000, kNoMoreSelRecords = 0xffff; ///< as record ids

/// How long the library insists.
struct SelRetries {
    static constexpr int kPieceAttempts = 4;               ///< on one piece of a record
    static constexpr int kRecordFailures = 10;             ///< in a row on one record, when the whole log is loaded
    static constexpr int kErasureAttempts = 5;             ///< on Clear SEL and Delete SEL Entry
    static constexpr std::chrono::seconds kBusy{1};        ///< before a busy BMC is asked again
    static constexpr std::chrono::seconds kErasureBusy{5}; ///< the same for an erasure
};

} // namespace Ipmi
