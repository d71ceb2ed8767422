// Commands of the SDR repository (IPMI 2.0, section 33) and how often a failed one is tried again.
#pragma once

#include <cstdint>

namespace Ipmi
{

inline constexpr std::uint8_t kGetSdrInfo = 0x20, kReserveSdr = 0x22, kGetSdr = 0x23;

/// How long the reader insists.
struct SdrRetries {
    static constexpr int kAttempts = 4;           ///< on one header, and on one piece of a record
    static constexpr int kLostReservations = 100; ///< in one walk over headers or records
};

} // namespace Ipmi
