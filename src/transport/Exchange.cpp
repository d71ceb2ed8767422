// SPDX-License-Identifier: Apache-2.0
// Send, wait for the answer, receive; and what is done when one of them fails.
#include "transport/Exchange.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "transport/Channel.h"
#include "transport/Device.h"
#include "transport/DriverRequests.h"
#include "transport/SignalPipe.h"
#include "transport/TargetScope.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace Ipmi
{

namespace
{

static_assert(sizeof(ipmiifc_msg) == sizeof(ipmi_msg) && offsetof(ipmiifc_msg, netfn) == offsetof(ipmi_msg, netfn) &&
              offsetof(ipmiifc_msg, cmd) == offsetof(ipmi_msg, cmd) &&
              offsetof(ipmiifc_msg, data_len) == offsetof(ipmi_msg, data_len) &&
              offsetof(ipmiifc_msg, data) == offsetof(ipmi_msg, data));
static_assert(sizeof(ipmiifc_req) == sizeof(ipmi_req) && offsetof(ipmiifc_req, addr) == offsetof(ipmi_req, addr) &&
              offsetof(ipmiifc_req, addr_len) == offsetof(ipmi_req, addr_len) &&
              offsetof(ipmiifc_req, msgid) == offsetof(ipmi_req, msgid) &&
              offsetof(ipmiifc_req, msg) == offsetof(ipmi_req, msg));

constexpr std::chrono::milliseconds kLongestWait{30'000};
constexpr unsigned int kSourceAddressRoom = 40;
constexpr std::uint8_t kFill = 0xef;

/// Where this thread's exchanges go; the BMC by its own address, 0 included.
Target currentTarget(int node, const Channel& channel)
{
    Target target = TargetScope::current(node);
    if (target.address == 0)
        target.address = channel.myAddress;
    return target;
}

DriverAddress driverAddress(const Target& target, const Channel& channel)
{
    DriverAddress bytes{};
    if (target.address == channel.myAddress) {
        ipmi_system_interface_addr bmc{};
        bmc.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
        bmc.channel = IPMI_BMC_CHANNEL;
        std::memcpy(bytes.data(), &bmc, bytes.size());
    } else {
        ipmi_ipmb_addr controller{};
        controller.addr_type = IPMI_IPMB_ADDR_TYPE;
        controller.channel = static_cast<short>(target.channel & 0x0f);
        controller.slave_addr = static_cast<unsigned char>(target.address);
        controller.lun = target.lun;
        std::memcpy(bytes.data(), &controller, bytes.size());
    }
    return bytes;
}

/// One exchange on a node: send, wait, receive.
class Exchange
{
public:
    explicit Exchange(int node) : node_(node), channel_(channelOf(node)) {}

    Exchanged run(const ipmiifc_req& req)
    {
        TRX::MutexLock hold(channel_.ioLock);
        if (channel_.fd <= 0 || channel_.shutdown)
            return result_;
        channel_.givenUp.useOpening(channel_.openings);
        if (!send(req)) {
            result_.end = End::kNotAnswered;
            return result_;
        }
        result_.end = await();
        if (result_.end != End::kAnswered)
            channel_.givenUp.add({request_.msgid, request_.msg.netfn, request_.msg.cmd});
        return result_;
    }

private:
    using End = Exchanged::End;
    enum class Wait { kReady, kNoAnswer, kShutdown };
    enum class Receive { kAnswer, kLate, kNothing };

    bool send(const ipmiifc_req& req)
    {
        target_ = currentTarget(node_, channel_);
        result_.address = driverAddress(target_, channel_);
        request_.addr = result_.address.data();
        request_.addr_len = kAddressLength;
        request_.msgid = req.msgid;
        request_.msg.netfn = req.msg.netfn;
        request_.msg.cmd = req.msg.cmd;
        request_.msg.data_len = req.msg.data_len;
        request_.msg.data = req.msg.data;
        if (driverRequest(channel_.fd, IPMICTL_SEND_COMMAND, request_) >= 0)
            return true;
        TRX::log(LOG_ERR, "Node %d: ioctl IPMICTL_SEND_COMMAND(fd=%d), errno(%d):%m", node_, channel_.fd.load(), errno);
        ReopenPort(node_);
        return false;
    }

    /// Waits for the answer and receives it; answers to exchanges that were given up are passed over.
    End await() TRX_REQUIRES(channel_.ioLock)
    {
        const auto deadline = TRX::Clock::get().steadyTime() + kLongestWait;
        auto remaining = kLongestWait;
        for (;;) {
            const Wait wait = waitReadable(static_cast<int>(remaining.count()));
            if (wait == Wait::kShutdown)
                return End::kRefused;
            if (wait == Wait::kNoAnswer)
                return End::kNotAnswered;
            switch (receive()) {
            case Receive::kAnswer:
                return End::kAnswered;
            case Receive::kNothing:
                return End::kUnusable;
            case Receive::kLate:
                remaining = std::max(deadline - TRX::Clock::get().steadyTime(), std::chrono::milliseconds{0});
            }
        }
    }

    Wait waitReadable(int milliseconds)
    {
        const int fd = channel_.fd;
        pollfd descriptors[2] = {{fd, POLLIN, 0}, {signalEnd(node_), POLLIN, 0}};
        const int result = TRX::Clock::get().poll(descriptors, 2, milliseconds);
        if (result == 0) {
            TRX::log(LOG_WARNING, "Node %d: poll(fd=%d) timeout with no reply.", node_, fd);
            return Wait::kNoAnswer;
        }
        if (result < 0) {
            TRX::log(LOG_ERR, "Node %d: poll(fd=%d), errno=%d %m", node_, fd, errno);
            return Wait::kNoAnswer;
        }
        if (channel_.shutdown)
            return Wait::kShutdown;
        return descriptors[0].revents == POLLIN ? Wait::kReady : Wait::kNoAnswer;
    }

    Receive receive() TRX_REQUIRES(channel_.ioLock)
    {
        std::uint8_t source[kSourceAddressRoom] = {};
        result_.data.fill(kFill);
        ipmi_recv message{};
        message.addr = source;
        message.addr_len = sizeof source;
        message.msg.data = result_.data.data();
        message.msg.data_len = static_cast<unsigned short>(result_.data.size());
        // EMSGSIZE: the answer was longer than the room and has been cut.
        if (driverRequest(channel_.fd, IPMICTL_RECEIVE_MSG_TRUNC, message) < 0 && errno != EMSGSIZE) {
            if (errno != EAGAIN)
                TRX::log(LOG_ERR, "Node %d: ioctl IPMICTL_RECEIVE_MSG_TRUNC(fd=%d), errno(%d):%m", node_,
                         channel_.fd.load(), errno);
            ReopenPort(node_);
            return Receive::kNothing;
        }
        if (message.recv_type == IPMI_ASYNC_EVENT_RECV_TYPE)
            return Receive::kNothing;
        if (isLate(message))
            return Receive::kLate;
        result_.length = message.msg.data_len;
        // For a controller behind the BMC the driver says with C3h that it did not answer.
        if (target_.address == channel_.myAddress || result_.data[0] != IPMI_TIMEOUT_COMPLETION_CODE)
            ++channel_.answers[target_.address & 0xff];
        return Receive::kAnswer;
    }

    /// Whether this answers an exchange that was given up. Where that had the id of this one too, network function and
    /// command tell; where they are the same too, the first to come is the older one's, as the driver keeps the order.
    bool isLate(const ipmi_recv& message) TRX_REQUIRES(channel_.ioLock)
    {
        constexpr int answerBit = 0x01; // in an answer's network function
        if (message.msgid != request_.msgid)
            return channel_.givenUp.take(message.msgid);
        const auto netfn = static_cast<std::uint8_t>(message.msg.netfn & ~answerBit);
        return channel_.givenUp.take({message.msgid, netfn, message.msg.cmd});
    }

    const int node_;
    Channel& channel_;
    Target target_;
    ipmi_req request_{};
    Exchanged result_;
};

} // namespace

Exchanged exchange(int node, const ipmiifc_req& req)
{
    return Exchange(node).run(req);
}

} // namespace Ipmi
