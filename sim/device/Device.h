// One simulated /dev/ipmi<N>: what the Linux IPMI driver does between its users and the controllers.
#pragma once

#include "sim/Message.h"
#include "sim/device/Frame.h"
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

/// The driver's end. Requests to the BMC are served one at a time in the order of sending; requests to controllers
/// behind it (IPMB addresses) run beside each other, are sent again while their controller is silent, and are answered
/// by the driver itself (C3h) in the end. A silent BMC is never answered for. One thread at a time.
class Device
{
public:
    using Milliseconds = std::chrono::milliseconds;
    using Now = std::function<Milliseconds()>;
    using Bytes = std::vector<std::uint8_t>;

    /// `responder` is kept by reference and must outlive the device; `now` never goes back.
    Device(Responder& responder, Now now);
    ~Device();
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
    struct Pending {
        int user;
        Frame::Header header;
        Request request;
        Bytes answer{};
        std::optional<Milliseconds> due{};
        bool started = false;
        int triesLeft = 0;
        Milliseconds retryTime{0};
        Milliseconds nextTry{0};
    };

    bool take(User& user);
    bool accept(User& user, const Frame::Datagram& frame, std::size_t length);
    bool acceptCommand(User& user, const Frame::Header& header, std::span<const std::uint8_t> data);
    void greet(int fd, int error);
    void readUsers();
    bool serveBmc();
    bool serveIpmb();
    bool advanceIpmb(Pending& pending);
    void ask(Pending& pending);
    void answer(const Pending& pending);
    static void write(int fd, const Frame::Header& header, std::span<const std::uint8_t> data);

    Responder& responder_;
    Now now_;
    std::vector<User> users_;
    std::deque<Pending> bmc_;
    std::deque<Pending> ipmb_;
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
