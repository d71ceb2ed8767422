// What passes between the simulated driver and a simulated BMC: one request, one answer.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace Sim
{

/// One IPMI request as a controller sees it.
struct Request {
    std::uint8_t channel = 0x0f; ///< 0Fh: the BMC's system interface; else the channel of an IPMB address
    std::uint8_t address = 0x20; ///< slave address of the controller asked; 20h is the BMC
    std::uint8_t lun = 0;
    std::uint8_t netfn = 0;
    std::uint8_t cmd = 0;
    std::vector<std::uint8_t> data;
    std::uint8_t requester = 0x20; ///< on an IPMB: slave address and LUN of whoever asks
    std::uint8_t requesterLun = 0;
};

/// One answer: completion code first, or none at all.
struct Answer {
    bool answered = true;               ///< false: the controller stays silent
    std::chrono::milliseconds delay{0}; ///< how long after the request the answer leaves
    std::vector<std::uint8_t> bytes;    ///< completion code, then data
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
    virtual Answer handleMessaging(const Request&, const std::function<std::vector<std::uint8_t>()>& carryOut)
    {
        return {.bytes = carryOut()};
    }
    /// The oldest event (a record of 16 bytes) that came after the first `seen` that ever happened; `seen` is then the
    /// number of them all, for an event message buffer takes one and misses the others.
    virtual std::optional<std::vector<std::uint8_t>> eventAfter(std::uint64_t& /*seen*/) const { return std::nullopt; }
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
