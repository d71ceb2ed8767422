// Reading records piece by piece: Get SDR (IPMI 2.0, 33.12) and Get SEL Entry (31.5), which ask and answer alike.
#pragma once

#include "node/IpmiIfcTransport.h"

#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi
{

/// Requests of one of these commands to one node under one reservation, and the last answer.
class RecordExchange
{
public:
    RecordExchange(int node, std::uint8_t cmd, std::uint16_t reservation)
        : node_(node), cmd_(cmd), reservation_(reservation)
    {
    }

    void setReservation(std::uint16_t reservation) { reservation_ = reservation; }
    /// Asks for `count` bytes of a record from `offset`, into the reply record of the answer before.
    void send(std::uint16_t recordId, std::size_t offset, std::size_t count);

    const Response& answer() const { return answer_; }
    void dropAnswer() { answer_.reset(); }
    bool lostReservation() const { return answer_ && answer_->cc == kCcReservationLost; }
    std::uint16_t nextId() const { return answer_.le16(1); }
    /// The record's bytes in the answer.
    std::span<const std::uint8_t> record() const;

    /// Where the record's bytes begin: after completion code and next id.
    static constexpr std::size_t kRecord = 3;

private:
    int node_;
    std::uint8_t cmd_;
    std::uint16_t reservation_;
    Response answer_;
};

} // namespace Ipmi
