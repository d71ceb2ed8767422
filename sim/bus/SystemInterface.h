// SPDX-License-Identifier: Apache-2.0
// The BMC's system interface: between one driver and the controllers, with the queue of messages for the driver.
#pragma once

#include "sim/bus/IpmbFrame.h"
#include "sim/bus/Message.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace Sim
{

/// What waits for the driver: Get Message Flags.
enum MessageFlag : std::uint8_t { kReceiveMessage = 0x01, kEventBuffer = 0x02 };

/// Carries out the messaging commands of IPMI 2.0, chapter 22 (Send and Get Message, message flags, global enables, the
/// event message buffer); every other request goes to the controllers as it is. One thread at a time.
class SystemInterface
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Now = std::function<Milliseconds()>;

    /// `controllers` is kept by reference and must outlive this; `now` never goes back.
    SystemInterface(Responder& controllers, Now now);

    /// One command of the driver to the BMC. What Send Message has sent on is answered in the queue, when it is due.
    Answer handle(const Request& request);

    /// Whether something waits for the driver: a message in the queue, or an event.
    bool attention() const;
    /// When a message will raise attention by itself; empty when none will, or when it is raised already.
    std::optional<Milliseconds> nextDue() const;

    /// Puts an event record where Read Event Message Buffer finds it; false: not enabled by the driver, or occupied.
    bool putEvent(const Bytes& record);

    /// Messages in the queue or on their way into it; more are lost.
    static constexpr std::size_t kQueueSize = 64;

private:
    struct Command {
        std::uint8_t cmd;
        std::size_t shortest; ///< request data bytes
        std::size_t longest;
        Bytes (SystemInterface::*carryOut)(const Bytes& data);
    };
    static const Command* find(const Request& request);

    Bytes sendMessage(const Bytes& data);
    Bytes getMessage(const Bytes&);
    Bytes getMessageFlags(const Bytes&);
    Bytes clearMessageFlags(const Bytes& data);
    Bytes readEventMessageBuffer(const Bytes&);
    Bytes setGlobalEnables(const Bytes& data);
    Bytes getGlobalEnables(const Bytes&);
    void queue(std::uint8_t channel, const IpmbFrame& response, Milliseconds due);
    bool messageWaits() const;
    bool eventWaits() const;
    bool takesEvents() const;
    void takeEvent();

    Responder& controllers_;
    Now now_;
    std::multimap<Milliseconds, Bytes> messages_; ///< by the time when they are there: as Get Message gives them
    Bytes event_;                                 ///< the event message buffer; empty: none
    std::uint64_t eventsSeen_ = 0;                ///< of those that happened at the BMC
    std::uint8_t globalEnables_;                  ///< without event logging, which is the BMC's and not the interface's
};

} // namespace Sim
