// SPDX-License-Identifier: Apache-2.0
// Users, their frames, and what goes to whom.
#include "sim/device/Device.h"

#include "sim/device/RawCall.h"

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Sim
{

namespace
{

constexpr std::uint8_t kGetChannelInfo = 0x42;
constexpr std::uint8_t kMediumIpmb = 1;
constexpr std::size_t kWaitingEvents = 100;

// Raw system calls: libc's would make ThreadSanitizer see an order between user and driver that a device does not give.
ssize_t receive(int fd, Frame::Datagram& frame)
{
    return rawCall(SYS_recvfrom, fd, &frame, sizeof frame, MSG_DONTWAIT | MSG_TRUNC, 0, 0);
}

Frame::Header answerHeader(const Frame::Header& request)
{
    Frame::Header header = request;
    header.kind = Frame::kMessage;
    header.receiveType = Frame::kResponse;
    header.netfn = request.netfn | 1;
    if (request.addressType == Frame::kIpmbBroadcast)
        header.addressType = Frame::kIpmb;
    return header;
}

} // namespace

Device::Device(Responder& responder, Now now)
    : responder_(responder), now_(std::move(now)),
      handler_(
          *this, now_, [this](const UserRequest& request, const Bytes& got) { answer(request, got); },
          [this](const Bytes& record) { event(record); })
{
}

Device::~Device()
{
    hangUp();
}

Answer Device::handle(const Request& request)
{
    return noted(responder_.handle(request));
}

Answer Device::handleMessaging(const Request& request, const std::function<Bytes()>& carryOut)
{
    return noted(responder_.handleMessaging(request, carryOut));
}

Answer Device::noted(Answer answer)
{
    if (answer.busy.count() > 0)
        setBusy(answer.busy);
    return answer;
}

int Device::connect()
{
    int ends[2];
    if (rawCall(SYS_socketpair, AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return -errno;
    adopt(ends[0]);
    return ends[1];
}

void Device::adopt(int serverEnd)
{
    readUsers(); // those that have gone make room
    if (users_.size() >= Frame::kUsersPerDevice) {
        greet(serverEnd, EBUSY);
        rawCall(SYS_close, serverEnd);
        return;
    }
    greet(serverEnd, 0);
    users_.push_back({nextUser_++, serverEnd});
}

void Device::greet(int fd, int error)
{
    Frame::Header hello{};
    hello.error = error;
    hello.value = ipmbChannels_;
    status_.greet(fd, hello);
}

void Device::write(int fd, const Frame::Header& header, std::span<const std::uint8_t> data)
{
    Frame::Datagram frame;
    frame.header = header;
    const std::size_t length = std::min(data.size(), sizeof frame.data);
    std::copy_n(data.begin(), length, frame.data);
    // A user that does not read loses its messages, and one that has gone is noticed when its end is read.
    rawCall(SYS_sendto, fd, &frame, sizeof frame.header + length, MSG_DONTWAIT | MSG_NOSIGNAL, 0, 0);
}

void Device::pump()
{
    if (pumping_)
        return; // a responder that acts on its own device
    pumping_ = true;
    if (busyUntil_ && *busyUntil_ <= now_())
        setBusy(Milliseconds(0));
    readUsers();
    handler_.advance();
    pumping_ = false;
}

void Device::readUsers()
{
    std::erase_if(users_, [this](User& user) {
        if (take(user))
            return false;
        rawCall(SYS_close, user.fd);
        return true;
    });
}

/// Takes what one user has sent; false when it has gone or talks nonsense.
bool Device::take(User& user)
{
    Frame::Datagram frame;
    for (int count = 0; count < 2 * Frame::kOutstandingPerUser; ++count) {
        const ssize_t length = receive(user.fd, frame);
        if (length < 0)
            return errno == EAGAIN || errno == EINTR;
        if (length < static_cast<ssize_t>(sizeof frame.header) || length > static_cast<ssize_t>(sizeof frame) ||
            !accept(user, frame, static_cast<std::size_t>(length) - sizeof frame.header))
            return false;
    }
    return true;
}

bool Device::accept(User& user, const Frame::Datagram& frame, std::size_t length)
{
    if (frame.header.kind == Frame::kCommand)
        return acceptCommand(user, frame.header, std::span(frame.data, length));
    if (frame.header.kind != Frame::kEvents)
        return false;
    user.events = frame.header.value != 0;
    for (; user.events && !waitingEvents_.empty(); waitingEvents_.pop_front())
        event(waitingEvents_.front());
    return true;
}

bool Device::acceptCommand(User& user, const Frame::Header& header, std::span<const std::uint8_t> data)
{
    if (handler_.outstanding(user.id) >= Frame::kOutstandingPerUser)
        return false;
    const bool toBmc = header.addressType == Frame::kSystemInterface;
    UserRequest request{user.id, header, {}};
    request.request = {toBmc ? Frame::kBmcChannel : header.channel,
                       toBmc ? std::uint8_t{0x20} : header.slave,
                       header.lun,
                       header.netfn,
                       header.cmd,
                       Bytes(data.begin(), data.end())};
    request.triesLeft = header.retries < 0 ? defaultRetries_ : header.retries;
    request.retryTime = header.retryTime == 0 ? defaultRetryTime_ : Milliseconds(header.retryTime);
    handler_.send(std::move(request));
    return true;
}

void Device::answer(const UserRequest& request, const Bytes& bytes)
{
    for (const User& user : users_)
        if (user.id == request.user)
            write(user.fd, answerHeader(request.header), bytes);
}

std::optional<Device::Milliseconds> Device::nextDue() const
{
    auto next = handler_.nextDue();
    if (busyUntil_)
        next = std::min(next.value_or(*busyUntil_), *busyUntil_);
    return next;
}

std::vector<int> Device::descriptors() const
{
    std::vector<int> all;
    for (const User& user : users_)
        all.push_back(user.fd);
    return all;
}

void Device::scanChannels()
{
    ipmbChannels_ = 1;
    for (std::uint8_t channel = 0; channel < 8; ++channel) {
        const Answer got = responder_.handle({Frame::kBmcChannel, 0x20, 0, kAppNetfn, kGetChannelInfo, {channel}});
        if (got.answered && got.bytes.size() > 2 && got.bytes[0] == 0 && (got.bytes[2] & 0x7f) == kMediumIpmb)
            ipmbChannels_ |= 1U << channel;
    }
}

void Device::setIpmbTiming(int retries, Milliseconds retryTime)
{
    defaultRetries_ = std::max(retries, 0);
    defaultRetryTime_ = std::max(retryTime, Milliseconds(1));
}

void Device::setBusy(Milliseconds time)
{
    const bool busy = time.count() > 0;
    busyUntil_ = busy ? std::optional(now_() + time) : std::nullopt;
    status_.setBusy(busy);
}

void Device::event(const Bytes& record)
{
    Frame::Header header{};
    header.kind = Frame::kMessage;
    header.receiveType = Frame::kAsyncEvent;
    header.addressType = Frame::kSystemInterface;
    header.channel = Frame::kBmcChannel;
    header.netfn = kAppNetfn | 1;
    header.cmd = kReadEventMessageBuffer;
    bool taken = false;
    for (const User& user : users_) {
        if (user.events)
            write(user.fd, header, record);
        taken = taken || user.events;
    }
    if (!taken && waitingEvents_.size() < kWaitingEvents)
        waitingEvents_.push_back(record);
}

void Device::deliver(Frame::Header header, const Bytes& data)
{
    header.kind = Frame::kMessage;
    for (const User& user : users_)
        write(user.fd, header, data);
}

void Device::hangUp()
{
    for (const User& user : users_)
        rawCall(SYS_close, user.fd);
    users_.clear();
}

} // namespace Sim
