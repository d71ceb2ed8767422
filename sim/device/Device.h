// SPDX-License-Identifier: Apache-2.0
// One simulated /dev/ipmi<N>: what the Linux IPMI driver does between its users and the controllers.
#pragma once

#include "sim/bus/Message.h"
#include "sim/device/Frame.h"
#include "sim/device/MessageHandler.h"
#include "sim/device/SharedStatus.h"

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <vector>

namespace Sim
{

/// The driver's end: its users, and what they send to the message handler. One thread at a time.
class Device : private Responder
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Now = std::function<Milliseconds()>;

    /// `responder` is kept by reference and must outlive the device; `now` never goes back.
    Device(Responder& responder, Now now);
    ~Device() override;
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    /// A new user: the close-on-exec descriptor of its end, owned by the caller, or -errno. Too many users are told so
    /// (EBUSY) in the hello on that descriptor.
    int connect();
    /// A new user behind a connected socket, which the device now owns.
    void adopt(int serverEnd);

    /// Takes what users have sent, asks the controllers, delivers what is due and forgets users that have gone.
    void pump();
    /// When pump() has something to do next without a user sending; empty when never.
    std::optional<Milliseconds> nextDue() const;
    /// The users' descriptors, to poll for input.
    std::vector<int> descriptors() const;

    /// Asks the BMC which channels are IPMBs (Get Channel Info), as the driver does when it is loaded. Before that,
    /// channel 0 alone is one.
    void scanChannels();
    void setIpmbChannels(std::uint32_t mask) { ipmbChannels_ = mask; }
    /// What users' timing parameters {-1, 0} mean: `retries` more tries, each waits `retryTime`.
    void setIpmbTiming(int retries, Milliseconds retryTime);

    /// Refuses commands (EBUSY) for so long from now on, as newer drivers do after a reset of the BMC; 0 ends it.
    void setBusy(Milliseconds time);
    /// An asynchronous event: to all users that take events; kept (100 at most) for the first that will.
    void event(const Bytes& record);
    /// Any message at all, to every user whatever it asked for. `header.kind` need not be set.
    void deliver(Frame::Header header, const Bytes& data);
    /// Closes the driver's end of every descriptor.
    void hangUp();

private:
    struct User {
        int id;
        int fd;
        bool events = false;
    };
    // The controllers, as the handler sees them.
    Answer handle(const Request& request) override;
    Answer handleMessaging(const Request& request, const std::function<Bytes()>& carryOut) override;
    bool isIpmb(std::uint8_t channel) const override { return responder_.isIpmb(channel); }
    std::optional<Bytes> eventAfter(std::uint64_t& seen) const override { return responder_.eventAfter(seen); }
    bool logsEvents() const override { return responder_.logsEvents(); }
    void setEventLogging(bool on) override { responder_.setEventLogging(on); }
    /// Before an answer leaves: what it says of the device.
    Answer noted(Answer answer);

    bool take(User& user);
    bool accept(User& user, const Frame::Datagram& frame, std::size_t length);
    bool acceptCommand(User& user, const Frame::Header& header, std::span<const std::uint8_t> data);
    void greet(int fd, int error);
    void readUsers();
    void answer(const UserRequest& request, const Bytes& bytes);
    static void write(int fd, const Frame::Header& header, std::span<const std::uint8_t> data);

    Responder& responder_;
    Now now_;
    MessageHandler handler_;
    std::vector<User> users_;
    std::deque<Bytes> waitingEvents_;
    int nextUser_ = 1;
    std::uint32_t ipmbChannels_ = 1;
    int defaultRetries_ = 4;
    Milliseconds defaultRetryTime_{2050};
    bool pumping_ = false;
    SharedStatus status_;
    std::optional<Milliseconds> busyUntil_;
};

} // namespace Sim
