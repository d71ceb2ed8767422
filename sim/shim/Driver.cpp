// SPDX-License-Identifier: Apache-2.0
// The driver's requests: checks, frames to the simulated driver, settings of a descriptor.
#include "sim/shim/Driver.h"

#include "sim/device/RawCall.h"

#include <cerrno>
#include <cstring>
#include <linux/ipmi.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Sim::Shim
{

namespace
{

constexpr unsigned char kNetfnApp = 0x06;
constexpr unsigned char kGetDeviceId = 0x01, kGetMessage = 0x33, kSendMessage = 0x34, kReadEventMessageBuffer = 0x35;

/// What a driver's request needs to know.
struct Call {
    Slot& slot;
    int fd;
    void* argument;
};

/// Copies from the user, EFAULT included.
template <typename T> bool fetch(T& value, const void* from)
{
    if (!isMemory(from, sizeof value))
        return false;
    std::memcpy(&value, from, sizeof value);
    return true;
}

template <typename T> int give(void* to, const T& value)
{
    if (!isMemory(to, sizeof value))
        return EFAULT;
    std::memcpy(to, &value, sizeof value);
    return 0;
}

int sendFrame(int fd, const Frame::Datagram& frame, std::size_t dataLength)
{
    for (;;) {
        if (rawCall(SYS_sendto, fd, &frame, sizeof frame.header + dataLength, MSG_NOSIGNAL, 0, 0) >= 0)
            return 0;
        if (errno != EINTR)
            return ENODEV; // the driver has gone
    }
}

int checkSystemInterface(const ipmi_req& request)
{
    const ipmi_msg& msg = request.msg;
    // The driver uses these itself and lets nobody else.
    const bool reserved = msg.netfn == kNetfnApp &&
                          (msg.cmd == kSendMessage || msg.cmd == kGetMessage || msg.cmd == kReadEventMessageBuffer);
    return reserved ? EINVAL : 0;
}

int checkIpmb(const Slot& slot, const ipmi_req& request, int type, int channel)
{
    if (channel < 0 || channel >= Frame::kChannels || (slot.ipmbChannels.get() >> channel & 1) == 0)
        return EINVAL;
    const bool broadcastable = request.msg.netfn == kNetfnApp && request.msg.cmd == kGetDeviceId;
    return type == IPMI_IPMB_BROADCAST_ADDR_TYPE && !broadcastable ? EINVAL : 0;
}

/// Fills the frame's address from the user's.
int takeAddress(const Slot& slot, const ipmi_req& request, Frame::Header& header)
{
    ipmi_ipmb_addr address{};
    static_assert(sizeof(ipmi_system_interface_addr) == sizeof address && sizeof(ipmi_addr) == 40);
    if (request.addr_len > sizeof(ipmi_addr))
        return EINVAL;
    if (!isMemory(request.addr, request.addr_len))
        return EFAULT;
    if (request.addr_len < sizeof address)
        return EINVAL;
    std::memcpy(&address, request.addr, sizeof address);
    header.addressType = static_cast<std::uint8_t>(address.addr_type);
    header.channel = static_cast<std::uint8_t>(address.channel);
    if (address.addr_type == IPMI_SYSTEM_INTERFACE_ADDR_TYPE) {
        ipmi_system_interface_addr system{};
        std::memcpy(&system, request.addr, sizeof system);
        header.lun = system.lun;
        return address.channel == IPMI_BMC_CHANNEL ? checkSystemInterface(request) : EINVAL;
    }
    if (address.addr_type != IPMI_IPMB_ADDR_TYPE && address.addr_type != IPMI_IPMB_BROADCAST_ADDR_TYPE)
        return EINVAL;
    header.slave = address.slave_addr;
    header.lun = address.lun;
    return checkIpmb(slot, request, address.addr_type, address.channel);
}

int send(Call& call, const ipmi_req& request, int retries, unsigned int retryTime)
{
    Frame::Datagram frame{};
    if (const int error = takeAddress(call.slot, request, frame.header))
        return error;
    // As the driver does it: no data pointer means no data, whatever the length says.
    const std::size_t length = request.msg.data ? request.msg.data_len : 0;
    if (length > Frame::kLongestRequest)
        return EMSGSIZE;
    if (!isMemory(request.msg.data, length))
        return EFAULT;
    if ((request.msg.netfn & 1) != 0 || frame.header.lun > 3)
        return EINVAL;
    if (length != 0)
        std::memcpy(frame.data, request.msg.data, length);
    frame.header.kind = Frame::kCommand;
    frame.header.netfn = request.msg.netfn & 0x3f;
    frame.header.cmd = request.msg.cmd;
    frame.header.msgid = request.msgid;
    frame.header.retries = retries;
    frame.header.retryTime = retryTime;
    if (call.slot.isBusy())
        return EBUSY;
    if (call.slot.outstanding.add(1) >= Frame::kOutstandingPerUser) {
        call.slot.outstanding.add(-1);
        return EBUSY;
    }
    return sendFrame(call.fd, frame, length);
}

int handleSendCommand(Call& call)
{
    ipmi_req request;
    if (!fetch(request, call.argument))
        return EFAULT;
    return send(call, request, call.slot.retries.get(), call.slot.retryTime.get());
}

int handleSendCommandSetTime(Call& call)
{
    ipmi_req_settime request;
    if (!fetch(request, call.argument))
        return EFAULT;
    return send(call, request.req, request.retries, request.retry_time_ms);
}

ssize_t receiveFrame(int fd, Frame::Datagram& frame, int flags)
{
    for (;;) {
        const ssize_t length = rawCall(SYS_recvfrom, fd, &frame, sizeof frame, flags | MSG_DONTWAIT, 0, 0);
        if (length >= 0 || errno != EINTR)
            return length;
    }
}

/// Gives the waiting message to the user. `consumed` says whether it is then gone.
int giveMessage(const Frame::Datagram& frame, std::size_t length, bool truncate, ipmi_recv& user, bool& consumed)
{
    const Frame::Header& header = frame.header;
    ipmi_ipmb_addr address{};
    address.addr_type = header.addressType;
    address.channel = header.channel;
    address.slave_addr = header.addressType == Frame::kSystemInterface ? header.lun : header.slave;
    address.lun = header.addressType == Frame::kSystemInterface ? std::uint8_t{0} : header.lun;
    static_assert(offsetof(ipmi_system_interface_addr, lun) == offsetof(ipmi_ipmb_addr, slave_addr));
    if (user.addr_len < sizeof address)
        return EINVAL;
    const bool cut = length > user.msg.data_len;
    if (const int error = give(user.addr, address))
        return error;
    if (cut && !truncate)
        return EMSGSIZE;
    const std::size_t given = cut ? user.msg.data_len : length;
    if (!isMemory(user.msg.data, given))
        return EFAULT;
    if (given != 0)
        std::memcpy(user.msg.data, frame.data, given);
    user.addr_len = sizeof address;
    user.recv_type = header.receiveType;
    user.msgid = static_cast<long>(header.msgid);
    user.msg.netfn = header.netfn;
    user.msg.cmd = header.cmd;
    user.msg.data_len = static_cast<unsigned short>(given);
    consumed = true;
    return cut ? EMSGSIZE : 0;
}

int receiveWaiting(Call& call, bool truncate, ipmi_recv& user)
{
    Frame::Datagram frame;
    const ssize_t length = receiveFrame(call.fd, frame, MSG_PEEK);
    if (length < 0)
        return errno == EAGAIN ? EAGAIN : ENODEV;
    if (length < static_cast<ssize_t>(sizeof frame.header))
        return ENODEV;
    bool consumed = false;
    const int error =
        giveMessage(frame, static_cast<std::size_t>(length) - sizeof frame.header, truncate, user, consumed);
    if (!consumed)
        return error;
    if (const int fault = give(call.argument, user))
        return fault;
    receiveFrame(call.fd, frame, 0);
    if (frame.header.receiveType == Frame::kResponse && call.slot.outstanding.add(-1) <= 0)
        call.slot.outstanding.add(1); // an answer that nobody asked for
    return error;
}

int receive(Call& call, bool truncate)
{
    ipmi_recv user;
    if (!fetch(user, call.argument))
        return EFAULT;
    while (!call.slot.receiving.change(0, 1))
        sched_yield();
    const int error = receiveWaiting(call, truncate, user);
    call.slot.receiving.set(0);
    return error;
}

int receiveMsg(Call& call)
{
    return receive(call, false);
}
int receiveMsgTrunc(Call& call)
{
    return receive(call, true);
}

int setGetsEvents(Call& call)
{
    int wanted = 0;
    if (!fetch(wanted, call.argument))
        return EFAULT;
    Frame::Datagram frame{};
    frame.header.kind = Frame::kEvents;
    frame.header.value = wanted != 0;
    return sendFrame(call.fd, frame, 0);
}

using ChannelBytes = Shared<std::uint8_t> (Slot::*)[Frame::kChannels];

/// The old requests set channel 0 only.
template <ChannelBytes bytes, std::uint8_t mask> int setOne(Call& call)
{
    unsigned int value = 0;
    if (!fetch(value, call.argument))
        return EFAULT;
    (call.slot.*bytes)[0].set(static_cast<std::uint8_t>(value & mask));
    return 0;
}

template <ChannelBytes bytes> int getOne(Call& call)
{
    const unsigned int value = (call.slot.*bytes)[0].get();
    return give(call.argument, value);
}

template <ChannelBytes bytes, std::uint8_t mask> int setOfChannel(Call& call)
{
    ipmi_channel_lun_address_set set;
    if (!fetch(set, call.argument))
        return EFAULT;
    if (set.channel >= Frame::kChannels)
        return EINVAL;
    (call.slot.*bytes)[set.channel].set(static_cast<std::uint8_t>(set.value & mask));
    return 0;
}

template <ChannelBytes bytes> int getOfChannel(Call& call)
{
    ipmi_channel_lun_address_set set;
    if (!fetch(set, call.argument))
        return EFAULT;
    if (set.channel >= Frame::kChannels)
        return EINVAL;
    set.value = (call.slot.*bytes)[set.channel].get();
    return give(call.argument, set);
}

int setTiming(Call& call)
{
    ipmi_timing_parms parms;
    if (!fetch(parms, call.argument))
        return EFAULT;
    call.slot.retries.set(parms.retries);
    call.slot.retryTime.set(parms.retry_time_ms);
    return 0;
}

int getTiming(Call& call)
{
    return give(call.argument, ipmi_timing_parms{call.slot.retries.get(), call.slot.retryTime.get()});
}

int setMaintenance(Call& call)
{
    int mode = 0;
    if (!fetch(mode, call.argument))
        return EFAULT;
    if (mode < IPMI_MAINTENANCE_MODE_AUTO || mode > IPMI_MAINTENANCE_MODE_ON)
        return EINVAL;
    call.slot.maintenance.set(mode);
    return 0;
}

int getMaintenance(Call& call)
{
    return give(call.argument, call.slot.maintenance.get());
}

// Registrations for commands from other controllers: kept, and refused where taken; no such command ever comes.
constexpr std::uint64_t kAllChannels = 0xffff;
constexpr std::uint64_t kTaken = std::uint64_t{1} << 32;

struct Registration {
    std::uint64_t command; ///< taken, netfn and cmd
    std::uint64_t channels;
};

std::uint64_t commandOf(std::uint64_t entry)
{
    return entry >> 16 << 16;
}
std::uint64_t entryOf(const Registration& r)
{
    return r.command | r.channels;
}

int addRegistration(Call& call, const Registration& wanted)
{
    for (int i = 0; i < kSlots; ++i) {
        Slot& slot = slotAt(i);
        if (slot.cookie.get() == 0 || slot.node.get() != call.slot.node.get())
            continue;
        for (auto& entry : slot.registrations)
            if (commandOf(entry.get()) == wanted.command && (entry.get() & wanted.channels) != 0)
                return EBUSY;
    }
    for (auto& entry : call.slot.registrations)
        if (entry.change(0, entryOf(wanted)))
            return 0;
    return ENOMEM;
}

int removeRegistration(Call& call, const Registration& unwanted)
{
    int error = ENOENT;
    for (auto& entry : call.slot.registrations) {
        const std::uint64_t value = entry.get();
        if (commandOf(value) != unwanted.command || (value & unwanted.channels) == 0)
            continue;
        const std::uint64_t left = value & ~unwanted.channels;
        entry.set((left & kAllChannels) == 0 ? 0 : left);
        error = 0;
    }
    return error;
}

using RegistrationChange = int (*)(Call&, const Registration&);

Registration registration(unsigned int netfn, unsigned int cmd, unsigned int channels)
{
    return {kTaken | std::uint64_t{netfn & 0xff} << 24 | std::uint64_t{cmd & 0xff} << 16, channels & kAllChannels};
}

template <RegistrationChange change> int forCommand(Call& call)
{
    ipmi_cmdspec spec;
    if (!fetch(spec, call.argument))
        return EFAULT;
    return change(call, registration(spec.netfn, spec.cmd, kAllChannels));
}

template <RegistrationChange change> int forCommandOnChannels(Call& call)
{
    ipmi_cmdspec_chans spec;
    if (!fetch(spec, call.argument))
        return EFAULT;
    return change(call, registration(spec.netfn, spec.cmd, spec.chans));
}

struct RequestHandler {
    unsigned int request;
    int (*handle)(Call&);
};

constexpr RequestHandler kDriverRequests[] = {
    {IPMICTL_SEND_COMMAND, handleSendCommand},
    {IPMICTL_RECEIVE_MSG_TRUNC, receiveMsgTrunc},
    {IPMICTL_RECEIVE_MSG, receiveMsg},
    {IPMICTL_SEND_COMMAND_SETTIME, handleSendCommandSetTime},
    {IPMICTL_SET_GETS_EVENTS_CMD, setGetsEvents},
    {IPMICTL_SET_MY_ADDRESS_CMD, setOne<&Slot::address, 0xff>},
    {IPMICTL_GET_MY_ADDRESS_CMD, getOne<&Slot::address>},
    {IPMICTL_SET_MY_LUN_CMD, setOne<&Slot::lun, 0x03>},
    {IPMICTL_GET_MY_LUN_CMD, getOne<&Slot::lun>},
    {IPMICTL_SET_MY_CHANNEL_ADDRESS_CMD, setOfChannel<&Slot::address, 0xff>},
    {IPMICTL_GET_MY_CHANNEL_ADDRESS_CMD, getOfChannel<&Slot::address>},
    {IPMICTL_SET_MY_CHANNEL_LUN_CMD, setOfChannel<&Slot::lun, 0x03>},
    {IPMICTL_GET_MY_CHANNEL_LUN_CMD, getOfChannel<&Slot::lun>},
    {IPMICTL_SET_TIMING_PARMS_CMD, setTiming},
    {IPMICTL_GET_TIMING_PARMS_CMD, getTiming},
    {IPMICTL_REGISTER_FOR_CMD, forCommand<addRegistration>},
    {IPMICTL_UNREGISTER_FOR_CMD, forCommand<removeRegistration>},
    {IPMICTL_REGISTER_FOR_CMD_CHANS, forCommandOnChannels<addRegistration>},
    {IPMICTL_UNREGISTER_FOR_CMD_CHANS, forCommandOnChannels<removeRegistration>},
    {IPMICTL_GET_MAINTENANCE_MODE_CMD, getMaintenance},
    {IPMICTL_SET_MAINTENANCE_MODE_CMD, setMaintenance},
};

/// The kernel looks, without a fault and by one short call: it reads the signals of a request that it refuses, for
/// there is no such way to change them. Where it may not look, the address counts as good.
bool isReadable(std::uintptr_t address)
{
    constexpr std::size_t kSignals = 8;
    constexpr int kNoWay = -1;
    const int savedErrno = errno;
    const bool fault =
        rawCall(SYS_rt_sigprocmask, kNoWay, address / kSignals * kSignals, 0, kSignals) != 0 && errno == EFAULT;
    errno = savedErrno;
    return !fault;
}

} // namespace

int handleRequest(Slot& slot, int fd, unsigned int request, void* argument)
{
    Call call{slot, fd, argument};
    for (const RequestHandler& entry : kDriverRequests)
        if (entry.request == request)
            return entry.handle(call);
    return ENOTTY;
}

bool sends(unsigned int request)
{
    return request == IPMICTL_SEND_COMMAND || request == IPMICTL_SEND_COMMAND_SETTIME ||
           request == IPMICTL_SET_GETS_EVENTS_CMD;
}

bool isMemory(const void* start, std::size_t size)
{
    constexpr std::uintptr_t kPage = 4096;
    if (size == 0)
        return true;
    const auto first = reinterpret_cast<std::uintptr_t>(start), last = first + size - 1;
    const bool together = first / kPage == last / kPage;
    return first >= kPage && last >= first && isReadable(first) && (together || isReadable(last));
}

} // namespace Sim::Shim
