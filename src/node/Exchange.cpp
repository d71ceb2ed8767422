#include "node/Exchange.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "node/DriverRequests.h"
#include "node/IpmiIfcTransport.h"
#include "node/IpmiNode.h"
#include "node/SignalPipe.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>

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
constexpr int kCopyRequest = 0x01;

/// Where this thread's exchanges go; the BMC by its own address, 0 included.
Target currentTarget(int node, const IpmiNode& self)
{
    Target target = TargetScope::current(node);
    if (target.address == 0)
        target.address = self.myAddress;
    return target;
}

/// The destination address, in the driver's form.
std::array<std::uint8_t, kAddressLength> driverAddress(const Target& target, const IpmiNode& self)
{
    std::array<std::uint8_t, kAddressLength> bytes{};
    if (target.address == self.myAddress) {
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

/// A fresh copy of `count` bytes; null for none. @return false when memory ran out
bool copyBytes(const std::uint8_t* bytes, std::size_t count, std::uint8_t*& copy)
{
    copy = nullptr;
    if (!bytes || count == 0)
        return true;
    copy = new (std::nothrow) std::uint8_t[count];
    if (copy)
        std::memcpy(copy, bytes, count);
    return copy != nullptr;
}

/// One exchange on a node: send, wait, receive.
class Exchange
{
public:
    Exchange(int node, int flags, ipmiifc_resp* supplied)
        : node_(node), self_(g_IpmiNode[node]), flags_(flags), supplied_(supplied)
    {
    }

    ipmiifc_resp* run(const ipmiifc_req& req)
    {
        TRX::MutexLock hold(self_.ioLock);
        if (self_.fd <= 0 || self_.shutdown)
            return nullptr;
        self_.givenUp.useOpening(self_.openings);
        if (!send(req))
            return noAnswer();
        ipmiifc_resp* resp = await();
        if (!received_)
            self_.givenUp.add({request_.msgid, request_.msg.netfn, request_.msg.cmd});
        return resp;
    }

    /// True when a null result means that the supplied record has been freed.
    bool freed() const { return freed_; }

private:
    enum class Wait { kReady, kNoAnswer, kShutdown };
    enum class Receive { kAnswer, kLate, kNothing };

    bool send(const ipmiifc_req& req)
    {
        target_ = currentTarget(node_, self_);
        address_ = driverAddress(target_, self_);
        request_.addr = address_.data();
        request_.addr_len = kAddressLength;
        request_.msgid = req.msgid;
        request_.msg.netfn = req.msg.netfn;
        request_.msg.cmd = req.msg.cmd;
        request_.msg.data_len = req.msg.data_len;
        request_.msg.data = req.msg.data;
        if (driverRequest(self_.fd, IPMICTL_SEND_COMMAND, request_) >= 0)
            return true;
        TRX::log(LOG_ERR, "Node %d: ioctl IPMICTL_SEND_COMMAND(fd=%d), errno(%d):%m", node_, self_.fd.load(), errno);
        ReopenPort(node_);
        return false;
    }

    /// Waits for the answer and receives it; answers to exchanges that were given up are passed over.
    ipmiifc_resp* await() TRX_REQUIRES(self_.ioLock)
    {
        const auto deadline = TRX::Clock::get().steadyTime() + kLongestWait;
        auto remaining = kLongestWait;
        for (;;) {
            const Wait wait = waitReadable(static_cast<int>(remaining.count()));
            if (wait == Wait::kShutdown)
                return abandon();
            if (wait == Wait::kNoAnswer)
                return noAnswer();
            if (!record_ && !makeRecord())
                return nullptr;
            switch (receive()) {
            case Receive::kAnswer:
                return finish();
            case Receive::kNothing:
                return drop();
            case Receive::kLate:
                remaining = std::max(deadline - TRX::Clock::get().steadyTime(), std::chrono::milliseconds{0});
            }
        }
    }

    Wait waitReadable(int milliseconds)
    {
        const int fd = self_.fd;
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
        if (self_.shutdown)
            return Wait::kShutdown;
        return descriptors[0].revents == POLLIN ? Wait::kReady : Wait::kNoAnswer;
    }

    bool makeRecord()
    {
        record_ = supplied_;
        if (IpmiIfcRespReuse(record_) == 0 || IpmiIfcRespNew(&record_) == 0)
            return true;
        TRX::log(LOG_ERR, "Node %d: alloc failed - not enough memory.", node_);
        return false;
    }

    Receive receive() TRX_REQUIRES(self_.ioLock)
    {
        std::uint8_t source[kSourceAddressRoom] = {};
        std::fill(std::begin(record_->data), std::end(record_->data), kFill);
        ipmi_recv message{};
        message.addr = source;
        message.addr_len = sizeof source;
        message.msg.data = record_->data;
        message.msg.data_len = sizeof record_->data;
        // EMSGSIZE: the answer was longer than the room and has been cut.
        if (driverRequest(self_.fd, IPMICTL_RECEIVE_MSG_TRUNC, message) < 0 && errno != EMSGSIZE) {
            if (errno != EAGAIN)
                TRX::log(LOG_ERR, "Node %d: ioctl IPMICTL_RECEIVE_MSG_TRUNC(fd=%d), errno(%d):%m", node_,
                         self_.fd.load(), errno);
            ReopenPort(node_);
            return Receive::kNothing;
        }
        if (message.recv_type == IPMI_ASYNC_EVENT_RECV_TYPE)
            return Receive::kNothing;
        if (isLate(message))
            return Receive::kLate;
        record_->datalen = message.msg.data_len;
        record_->cc = record_->data[0];
        received_ = true;
        // For a controller behind the BMC the driver says with C3h that it did not answer.
        if (target_.address == self_.myAddress || record_->cc != IPMI_TIMEOUT_COMPLETION_CODE)
            ++self_.answers[target_.address & 0xff];
        return Receive::kAnswer;
    }

    /// Whether this answers an exchange that was given up. Where that had the id of this one too, network function and
    /// command tell; where they are the same too, the first to come is the older one's, as the driver keeps the order.
    bool isLate(const ipmi_recv& message) TRX_REQUIRES(self_.ioLock)
    {
        constexpr int answerBit = 0x01; // in an answer's network function
        if (message.msgid != request_.msgid)
            return self_.givenUp.take(message.msgid);
        const auto netfn = static_cast<std::uint8_t>(message.msg.netfn & ~answerBit);
        return self_.givenUp.take({message.msgid, netfn, message.msg.cmd});
    }

    ipmiifc_resp* finish()
    {
        if (record_->cc != 0 || record_->datalen == 0)
            return record_;
        record_->node = node_;
        if (flags_ & kCopyRequest)
            copyRequest();
        return record_;
    }

    void copyRequest()
    {
        ipmiifc_req& copy = record_->req;
        copy.addr_len = request_.addr_len;
        copy.msgid = request_.msgid;
        copy.msg.netfn = request_.msg.netfn;
        copy.msg.cmd = request_.msg.cmd;
        copy.msg.data_len = request_.msg.data_len;
        if (copyBytes(request_.addr, request_.addr_len, copy.addr) &&
            copyBytes(request_.msg.data, request_.msg.data_len, copy.msg.data))
            return;
        TRX::log(LOG_ERR, "Node %d: alloc failed - not enough memory.", node_);
        IpmiIfcRespReuse(record_);
        copy = ipmiifc_req(); // the answer is good all the same
    }

    /// The command was not answered: a supplied record says so.
    ipmiifc_resp* noAnswer()
    {
        abandon();
        if (supplied_)
            supplied_->cc = kNoAnswer;
        return supplied_;
    }

    /// Frees the record if it is this exchange's own; one that was supplied stays with its owner.
    ipmiifc_resp* abandon()
    {
        if (record_ != supplied_)
            IpmiIfcRespDel(&record_);
        return nullptr;
    }

    /// Frees the record, whoever made it.
    ipmiifc_resp* drop()
    {
        freed_ = record_ == supplied_;
        IpmiIfcRespDel(&record_);
        return nullptr;
    }

    const int node_;
    IpmiNode& self_;
    const int flags_;
    ipmiifc_resp* const supplied_;
    ipmiifc_resp* record_ = nullptr;
    Target target_;
    std::array<std::uint8_t, kAddressLength> address_{};
    ipmi_req request_{};
    bool received_ = false;
    bool freed_ = false;
};

} // namespace

ipmiifc_resp* exchange(int node, const ipmiifc_req& req, int flags, ipmiifc_resp* supplied, bool& freed)
{
    Exchange one(node, flags, supplied);
    ipmiifc_resp* resp = one.run(req);
    freed = one.freed();
    return resp;
}

} // namespace Ipmi
