// SPDX-License-Identifier: Apache-2.0
// The driver's one command at a time: flags first, then what waits, with retries on an IPMB.
#include "sim/device/MessageHandler.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Sim
{

namespace
{

constexpr int kDriver = 0;
constexpr std::uint8_t kGetMessageFlags = 0x31, kGetMessage = 0x33, kSendMessage = 0x34;
constexpr std::uint8_t kTimeout = 0xc3;
/// After these from Send Message the driver waits for an answer and sends again, as if nothing were wrong.
constexpr std::array<std::uint8_t, 5> kSent{0x00, 0x81, 0x82, 0x83, 0xc0};
constexpr std::size_t kSequences = 64;
constexpr std::chrono::milliseconds kPause{100};

} // namespace

MessageHandler::MessageHandler(Responder& controllers, SystemInterface::Now now, Deliver deliver,
                               std::function<void(const Bytes&)> event)
    : interface_(controllers, now), now_(std::move(now)), deliver_(std::move(deliver)), event_(std::move(event))
{
}

void MessageHandler::send(UserRequest request)
{
    if (request.header.addressType != Frame::kSystemInterface) {
        waiting_.push_back(std::move(request));
        startMessages();
        return;
    }
    const int user = request.user;
    const Request asked = request.request;
    commands_.push_back({user, asked, [this, request = std::move(request)](const Answer& answer) {
                             if (answer.answered)
                                 deliver_(request, answer.bytes);
                         }});
}

int MessageHandler::outstanding(int user) const
{
    const auto isOfUser = [user](const auto& one) { return one.user == user; };
    const auto isMessage = [user](const auto& entry) { return entry.second.user.user == user; };
    return static_cast<int>((running_ && running_->command.user == user ? 1 : 0) +
                            std::count_if(commands_.begin(), commands_.end(), isOfUser) +
                            std::count_if(waiting_.begin(), waiting_.end(), isOfUser) +
                            std::count_if(messages_.begin(), messages_.end(), isMessage));
}

void MessageHandler::advance()
{
    while (finishCommand() || startCommand() || handleTimeouts())
        ;
}

bool MessageHandler::finishCommand()
{
    if (!running_ || running_->due > now_())
        return false;
    const Running finished = *std::exchange(running_, std::nullopt);
    finished.command.done(finished.answer);
    return true;
}

/// Messages that wait in the BMC come before what users want of it.
bool MessageHandler::startCommand()
{
    if (running_)
        return false;
    if (mayFetch()) {
        ask(kGetMessageFlags, &MessageHandler::takeFlags);
    } else {
        if (commands_.empty())
            return false;
        Command next = std::move(commands_.front());
        commands_.pop_front();
        run(std::move(next));
    }
    return true;
}

void MessageHandler::ask(std::uint8_t cmd, void (MessageHandler::*done)(const Answer&))
{
    run({kDriver, {.netfn = kAppNetfn, .cmd = cmd, .data = {}}, [this, done](const Answer& answer) {
             (this->*done)(answer);
         }});
}

void MessageHandler::run(Command command)
{
    Answer answer = interface_.handle(command.request);
    const Milliseconds delay = answer.answered ? std::max(answer.delay, Milliseconds(0)) : Milliseconds(0);
    running_ = {std::move(command), std::move(answer), now_() + delay};
}

bool MessageHandler::mayFetch() const
{
    return interface_.attention() && fetchFrom_ <= now_();
}

void MessageHandler::takeFlags(const Answer& answer)
{
    const Bytes& bytes = answer.bytes;
    fetchFrom_ = now_() + kPause;
    const std::uint8_t flags = answer.answered && bytes.size() > 1 && bytes[0] == 0 ? bytes[1] : std::uint8_t{0};
    if ((flags & kReceiveMessage) != 0)
        ask(kGetMessage, &MessageHandler::takeMessage);
    else if ((flags & kEventBuffer) != 0)
        ask(kReadEventMessageBuffer, &MessageHandler::takeEvent);
}

void MessageHandler::takeEvent(const Answer& answer)
{
    const Bytes& bytes = answer.bytes;
    if (!answer.answered || bytes.size() < 2 || bytes[0] != 0)
        return;
    fetchFrom_ = now_();
    event_({bytes.begin() + 1, bytes.end()});
}

/// Reads on until the queue is empty.
void MessageHandler::takeMessage(const Answer& answer)
{
    constexpr std::size_t kChannel = 1, kFrame = 2;
    const Bytes& bytes = answer.bytes;
    if (!answer.answered || bytes.size() <= kFrame || bytes[0] != 0)
        return;
    fetchFrom_ = now_();
    // The address that it was sent to is left out.
    Bytes whole{kBmcAddress};
    whole.insert(whole.end(), bytes.begin() + kFrame, bytes.end());
    if (const auto frame = readIpmbFrame(whole); frame && !frame->data.empty())
        deliverResponse(bytes[kChannel] & 0x0f, *frame);
    ask(kGetMessage, &MessageHandler::takeMessage);
}

/// To the request that it answers, if there still is one. Checksums are not looked at: this is meant, the driver does
/// not either.
void MessageHandler::deliverResponse(std::uint8_t channel, const IpmbFrame& frame)
{
    const auto found = messages_.find(frame.sequence);
    if (found == messages_.end())
        return;
    const Request& request = found->second.user.request;
    if (request.channel == channel && request.address == frame.from && (request.netfn | 1) == frame.netfn &&
        request.cmd == frame.cmd)
        finishMessage(frame.sequence, frame.data);
}

/// Gives waiting requests the sequence numbers that are free.
void MessageHandler::startMessages()
{
    while (!waiting_.empty() && messages_.size() < kSequences) {
        const std::uint8_t sequence = nextSequence_;
        nextSequence_ = (nextSequence_ + 1) % kSequences;
        const auto [place, isFree] = messages_.try_emplace(sequence);
        if (!isFree)
            continue;
        place->second = {std::move(waiting_.front()), nextId_++};
        waiting_.pop_front();
        sendMessage(sequence, place->second);
    }
}

void MessageHandler::sendMessage(std::uint8_t sequence, const Message& message)
{
    const Request& asked = message.user.request;
    const IpmbFrame frame{.to = asked.address,
                          .toLun = asked.lun,
                          .from = kBmcAddress,
                          .fromLun = kSystemSoftwareLun,
                          .netfn = asked.netfn,
                          .sequence = sequence,
                          .cmd = asked.cmd,
                          .data = asked.data};
    Bytes data{asked.channel};
    if (message.user.header.addressType == Frame::kIpmbBroadcast)
        data.push_back(0);
    const Bytes bytes = frame.bytes();
    data.insert(data.end(), bytes.begin(), bytes.end());
    commands_.push_back(
        {kDriver,
         {.netfn = kAppNetfn, .cmd = kSendMessage, .data = std::move(data)},
         [this, sequence, id = message.id](const Answer& answer) { messageSent(sequence, id, answer); }});
}

void MessageHandler::messageSent(std::uint8_t sequence, std::uint64_t id, const Answer& answer)
{
    const auto found = messages_.find(sequence);
    if (found == messages_.end() || found->second.id != id)
        return; // answered meanwhile, to an earlier try
    Message& message = found->second;
    if (!answer.answered || answer.bytes.empty() ||
        std::find(kSent.begin(), kSent.end(), answer.bytes[0]) != kSent.end())
        message.nextTry = now_() + message.user.retryTime;
    else
        finishMessage(sequence, {answer.bytes[0]});
}

bool MessageHandler::handleTimeouts()
{
    const auto now = now_();
    const auto found = std::find_if(messages_.begin(), messages_.end(), [&](const auto& entry) {
        return entry.second.nextTry.value_or(Milliseconds::max()) <= now;
    });
    if (found == messages_.end())
        return false;
    auto& [sequence, message] = *found;
    message.nextTry.reset();
    if (message.user.triesLeft-- > 0)
        sendMessage(sequence, message);
    else
        finishMessage(sequence, {kTimeout});
    return true;
}

void MessageHandler::finishMessage(std::uint8_t sequence, const Bytes& answer)
{
    const auto finished = messages_.extract(sequence);
    deliver_(finished.mapped().user, answer);
    startMessages();
}

std::optional<MessageHandler::Milliseconds> MessageHandler::nextDue() const
{
    std::optional<Milliseconds> next;
    const auto consider = [&next](std::optional<Milliseconds> time) {
        if (time)
            next = std::min(next.value_or(*time), *time);
    };
    if (running_)
        consider(running_->due);
    else if (!commands_.empty())
        consider(Milliseconds(0));
    else if (interface_.attention())
        consider(fetchFrom_);
    consider(interface_.nextDue());
    for (const auto& [sequence, message] : messages_)
        consider(message.nextTry);
    return next;
}

} // namespace Sim
