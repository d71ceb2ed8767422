// SPDX-License-Identifier: Apache-2.0
// The driver at the BMC's system interface: one command at a time, and requests to other controllers as messages.
#pragma once

#include "sim/bus/IpmbFrame.h"
#include "sim/bus/SystemInterface.h"
#include "sim/device/Frame.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <optional>
#include <vector>

namespace Sim
{

/// A user's request and how it is sent.
struct UserRequest {
    int user = 0;
    Frame::Header header;
    Request request;
    int triesLeft = 0; ///< of an IPMB request: after the first
    std::chrono::milliseconds retryTime{0};
};

/// Commands to the BMC are asked in the order of sending; a silent BMC is never answered for. A request to another
/// controller becomes a Send Message; its answer comes by Get Message. While there is none it is sent again, and in the
/// end answered with C3h. One thread at a time.
class MessageHandler
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Deliver = std::function<void(const UserRequest& request, const Bytes& answer)>;

    /// `event` gets the records that the BMC has put into its event message buffer.
    MessageHandler(Responder& controllers, SystemInterface::Now now, Deliver deliver,
                   std::function<void(const Bytes&)> event);

    void send(UserRequest request);
    /// How many requests of a user are not answered yet.
    int outstanding(int user) const;
    /// Does everything that is due.
    void advance();
    /// When advance() has something to do next; empty when never.
    std::optional<Milliseconds> nextDue() const;

private:
    /// What is asked, or waits to be asked, at the system interface. `done` gets the answer when it is due.
    struct Command {
        int user; ///< kDriver: the driver's own
        Request request;
        std::function<void(const Answer&)> done;
    };
    struct Running {
        Command command;
        Answer answer;
        Milliseconds due;
    };
    /// A request to another controller.
    struct Message {
        UserRequest user;
        std::uint64_t id = 0; ///< sequence numbers come again, ids do not
        std::optional<Milliseconds> nextTry{};
    };

    bool finishCommand();
    bool startCommand();
    bool handleTimeouts();
    void ask(std::uint8_t cmd, void (MessageHandler::*done)(const Answer&));
    void run(Command command);
    void startMessages();
    void sendMessage(std::uint8_t sequence, const Message& message);
    void messageSent(std::uint8_t sequence, std::uint64_t id, const Answer& answer);
    void takeFlags(const Answer& answer);
    void takeMessage(const Answer& answer);
    void takeEvent(const Answer& answer);
    void deliverResponse(std::uint8_t channel, const IpmbFrame& frame);
    void finishMessage(std::uint8_t sequence, const Bytes& answer);
    bool mayFetch() const;

    SystemInterface interface_;
    SystemInterface::Now now_;
    Deliver deliver_;
    std::function<void(const Bytes&)> event_;
    std::optional<Running> running_;
    std::deque<Command> commands_;
    std::map<std::uint8_t, Message> messages_; ///< by sequence number
    std::deque<UserRequest> waiting_;          ///< for a sequence number
    std::uint8_t nextSequence_ = 0;
    std::uint64_t nextId_ = 0;
    Milliseconds fetchFrom_{0}; ///< a BMC that wants attention and then has nothing is not asked again before
};

} // namespace Sim
