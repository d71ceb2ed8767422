// SPDX-License-Identifier: Apache-2.0
// What passes between the simulated driver and a simulated BMC: one request, one answer.
#pragma once

#include "sim/bus/Bytes.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>

namespace Sim
{

inline constexpr std::uint8_t kBmcAddress = 0x20, kSystemChannel = 0x0f;
inline constexpr std::uint8_t kChassisNetfn = 0x00, kSensorNetfn = 0x04, kAppNetfn = 0x06, kStorageNetfn = 0x0a,
                              kTransportNetfn = 0x0c;
/// Commands that more than their handlers know.
inline constexpr std::uint8_t kReadEventMessageBuffer = 0x35, kGetSdr = 0x23, kGetSelEntry = 0x43;

/// One IPMI request as a controller sees it.
struct Request {
    std::uint8_t channel = 0x0f;        ///< 0Fh: the BMC's system interface; else the channel of an IPMB address
    std::uint8_t address = kBmcAddress; ///< slave address of the controller asked; 20h is the BMC
    std::uint8_t lun = 0;
    std::uint8_t netfn = 0;
    std::uint8_t cmd = 0;
    Bytes data;
    std::uint8_t requester = kBmcAddress; ///< on an IPMB: slave address and LUN of whoever asks
    std::uint8_t requesterLun = 0;
};

/// One answer: completion code first, or none at all.
struct Answer {
    bool answered = true;               ///< false: the controller stays silent
    std::chrono::milliseconds delay{0}; ///< how long after the request the answer leaves
    Bytes bytes;                        ///< completion code, then data
    std::chrono::milliseconds busy{0};  ///< how long the driver refuses commands from this request on, as after a reset
    std::uint8_t notSent = 0; ///< why a request did not get to a controller on an IPMB: Send Message's completion code
};

/// Whoever answers requests: a simulated BMC, or a test's script.
class Responder
{
public:
    virtual ~Responder() = default;
    /// Answers one request. Called by one thread at a time.
    virtual Answer handle(const Request& request) = 0;

    /// A messaging command to the BMC (Send Message, Get Message, ...), whose work is the system interface's:
    /// `carryOut` does it and returns the answer's bytes, and may call handle(). A responder may answer otherwise.
    virtual Answer handleMessaging(const Request&, const std::function<Bytes()>& carryOut)
    {
        return {.bytes = carryOut()};
    }
    /// The oldest event (a record of 16 bytes) that came after the first `seen` that ever happened; `seen` is then the
    /// number of them all, for an event message buffer takes one and misses the others.
    virtual std::optional<Bytes> eventAfter(std::uint64_t& /*seen*/) const { return std::nullopt; }
    /// System event logging, of the BMC global enables.
    virtual bool logsEvents() const { return true; }
    virtual void setEventLogging(bool /*on*/) {}
    /// Whether Send Message finds an IPMB at this channel.
    virtual bool isIpmb(std::uint8_t channel) const
    {
        constexpr std::uint8_t kHighest = 0x0b;
        return channel <= kHighest;
    }
};

} // namespace Sim
