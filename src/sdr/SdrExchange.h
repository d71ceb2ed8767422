// Get SDR exchanges (IPMI 2.0, 33.12) and how often a failed one is tried again.
#pragma once

#include "node/IpmiIfcTransport.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi
{

inline constexpr std::uint8_t kStorage = 0x0a; ///< network function
inline constexpr std::uint8_t kGetSdrInfo = 0x20, kReserveSdr = 0x22, kGetSdr = 0x23;

/// Completion codes that the reader has an answer to (IPMI 2.0, table 5-2).
inline constexpr std::uint8_t kCcReservationLost = 0xc5, kCcInvalidLength = 0xc7, kCcTooManyBytes = 0xca,
                              kCcNotPresent = 0xcb;

/// How long the reader insists.
struct SdrRetries {
    static constexpr int kAttempts = 4;           ///< on one header, and on one piece of a record
    static constexpr int kLostReservations = 100; ///< in one walk over headers or records
};

/// Get SDR requests to one node under one reservation, and the last answer.
class SdrExchange
{
public:
    SdrExchange(int node, std::uint16_t reservation) : node_(node), reservation_(reservation) {}

    void setReservation(std::uint16_t reservation) { reservation_ = reservation; }
    /// Asks for `count` bytes of a record from `offset`, into the reply record of the answer before.
    void send(std::uint16_t recordId, std::size_t offset, std::size_t count);

    const Response& answer() const { return answer_; }
    void dropAnswer() { answer_.reset(); }
    bool lostReservation() const { return answer_ && answer_->cc == kCcReservationLost; }
    std::uint16_t nextId() const { return static_cast<std::uint16_t>(answer_.at(1) | answer_.at(2) << 8); }
    /// The record's bytes in the answer.
    std::span<const std::uint8_t> record() const;

    /// Where the record's bytes begin: after completion code and next id.
    static constexpr std::size_t kRecord = 3;

private:
    int node_;
    std::uint16_t reservation_;
    Response answer_;
};

} // namespace Ipmi
