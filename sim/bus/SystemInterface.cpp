// SPDX-License-Identifier: Apache-2.0
// The messaging commands, and the queue behind Get Message.
#include "sim/bus/SystemInterface.h"

#include "sim/bus/CompletionCode.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace Sim
{

namespace
{

enum Enable : std::uint8_t { kMessageInterrupt = 0x01, kEventMessageBuffer = 0x04, kEventLogging = 0x08 };

constexpr std::uint8_t kChannelMask = 0x0f;
constexpr std::uint8_t kBroadcast = 0x00;
constexpr std::size_t kLongestFrame = 32; ///< on an IPMB, IPMB 1.0

} // namespace

SystemInterface::SystemInterface(Responder& controllers, Now now)
    : controllers_(controllers), now_(std::move(now)), globalEnables_(kMessageInterrupt)
{
}

const SystemInterface::Command* SystemInterface::find(const Request& request)
{
    static constexpr Command kCommands[] = {
        {0x2e, 1, 1, &SystemInterface::setGlobalEnables},
        {0x2f, 0, 0, &SystemInterface::getGlobalEnables},
        {0x30, 1, 1, &SystemInterface::clearMessageFlags},
        {0x31, 0, 0, &SystemInterface::getMessageFlags},
        {0x33, 0, 0, &SystemInterface::getMessage},
        {0x34, 1, 255, &SystemInterface::sendMessage},
        {0x35, 0, 0, &SystemInterface::readEventMessageBuffer},
    };
    const auto* const command = std::find_if(std::begin(kCommands), std::end(kCommands),
                                             [&](const Command& known) { return known.cmd == request.cmd; });
    const bool toBmc = request.channel == kSystemChannel && request.address == kBmcAddress;
    return toBmc && request.netfn == kAppNetfn && command != std::end(kCommands) ? command : nullptr;
}

Answer SystemInterface::handle(const Request& request)
{
    takeEvent();
    const Command* command = find(request);
    if (command == nullptr)
        return controllers_.handle(request);
    return controllers_.handleMessaging(request, [&]() -> Bytes {
        if (request.lun != 0)
            return {kInvalidForLun};
        if (request.data.size() < command->shortest || request.data.size() > command->longest)
            return {kInvalidLength};
        return (this->*command->carryOut)(request.data);
    });
}

/// IPMI 2.0, 22.7, for an IPMB: the frame goes to its controller at once, and the answer comes into the queue.
Bytes SystemInterface::sendMessage(const Bytes& data)
{
    // Whether the BMC follows the request up (tracking) makes no difference here; to authenticate or encrypt it would.
    constexpr std::uint8_t kSecured = 0x30, kRaw = 0x80;
    const std::uint8_t channel = data[0] & kChannelMask;
    if ((data[0] & (kSecured | kRaw)) != 0 || !controllers_.isIpmb(channel))
        return {kInvalidField};
    std::span<const std::uint8_t> sent = std::span(data).subspan(1);
    if (!sent.empty() && sent[0] == kBroadcast)
        sent = sent.subspan(1);
    const auto frame = readIpmbFrame(sent);
    if (!frame || sent.size() > kLongestFrame)
        return {kInvalidLength};
    if (!frame->intact)
        return {kOk}; // this is meant: the BMC sends it, and nobody on the bus takes it
    const Answer got = controllers_.handle(
        {channel, frame->to, frame->toLun, frame->netfn, frame->cmd, frame->data, frame->from, frame->fromLun});
    // A response that is not for the BMC's software goes elsewhere.
    if (got.answered && frame->from == kBmcAddress && frame->fromLun == kSystemSoftwareLun)
        queue(channel, frame->response(got.bytes), now_() + std::max(got.delay, Milliseconds(0)));
    return {got.notSent};
}

/// Without the address that it went to: that is the BMC's own, though its first checksum counts it.
void SystemInterface::queue(std::uint8_t channel, const IpmbFrame& response, Milliseconds due)
{
    if (messages_.size() >= kQueueSize)
        return;
    Bytes message = response.bytes();
    message.front() = channel;
    messages_.emplace(due, std::move(message));
}

Bytes SystemInterface::getMessage(const Bytes&)
{
    if (!messageWaits())
        return {kEmpty};
    Bytes answer{kOk};
    putBytes(answer, messages_.begin()->second);
    messages_.erase(messages_.begin());
    return answer;
}

Bytes SystemInterface::getMessageFlags(const Bytes&)
{
    return {kOk,
            static_cast<std::uint8_t>((messageWaits() ? kReceiveMessage : 0) | (event_.empty() ? 0 : kEventBuffer))};
}

Bytes SystemInterface::clearMessageFlags(const Bytes& data)
{
    if ((data[0] & kReceiveMessage) != 0)
        messages_.erase(messages_.begin(), messages_.upper_bound(now_()));
    if ((data[0] & kEventBuffer) != 0)
        event_.clear();
    return {kOk};
}

Bytes SystemInterface::readEventMessageBuffer(const Bytes&)
{
    if (event_.empty())
        return {kEmpty};
    Bytes answer{kOk};
    putBytes(answer, std::exchange(event_, {}));
    return answer;
}

Bytes SystemInterface::setGlobalEnables(const Bytes& data)
{
    globalEnables_ = static_cast<std::uint8_t>(data[0] & ~kEventLogging);
    controllers_.setEventLogging((data[0] & kEventLogging) != 0);
    return {kOk};
}

Bytes SystemInterface::getGlobalEnables(const Bytes&)
{
    return {kOk, static_cast<std::uint8_t>(globalEnables_ | (controllers_.logsEvents() ? kEventLogging : 0))};
}

bool SystemInterface::putEvent(const Bytes& record)
{
    if (!takesEvents())
        return false;
    event_ = record;
    return true;
}

bool SystemInterface::takesEvents() const
{
    return (globalEnables_ & kEventMessageBuffer) != 0 && event_.empty();
}

/// The BMC's own events; those that find the buffer occupied or not enabled are in the log alone.
void SystemInterface::takeEvent()
{
    if (const auto event = controllers_.eventAfter(eventsSeen_))
        putEvent(*event);
}

bool SystemInterface::eventWaits() const
{
    std::uint64_t seen = eventsSeen_;
    return !event_.empty() || (takesEvents() && controllers_.eventAfter(seen));
}

bool SystemInterface::messageWaits() const
{
    return !messages_.empty() && messages_.begin()->first <= now_();
}

bool SystemInterface::attention() const
{
    return messageWaits() || eventWaits();
}

std::optional<SystemInterface::Milliseconds> SystemInterface::nextDue() const
{
    if (messages_.empty() || attention())
        return std::nullopt;
    return messages_.begin()->first;
}

} // namespace Sim
