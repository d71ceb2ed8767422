// SPDX-License-Identifier: Apache-2.0
// One virtual machine at a time: its requests, attention, and answers in time.
#include "sim/vm/VmServer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>

namespace Sim
{

namespace
{

using std::chrono::milliseconds;

/// QEMU answers the guest itself after 4 s, and a later answer disturbs it for a minute: stay well on this side.
constexpr milliseconds kPatience{3'900};
constexpr std::size_t kReadAtOnce = 4096, kMostKept = 65'536;

} // namespace

VmServer::VmServer(SystemInterface& bmc, Now now, std::uint16_t port) : bmc_(bmc), now_(std::move(now)), listener_(port)
{
}

void VmServer::addTo(std::vector<pollfd>& waiting) const
{
    waiting.push_back({listener_.descriptor(), POLLIN, 0});
    if (machine_)
        machine_->addTo(waiting);
}

std::optional<milliseconds> VmServer::nextDue() const
{
    const auto bmc = bmc_.nextDue();
    return pending_ ? std::min(pending_->due, bmc.value_or(pending_->due)) : bmc;
}

bool VmServer::serve()
{
    acceptMachine();
    readMachine();
    advance();
    if (machine_ && (machine_->ended() || machine_->broken() || machine_->kept() > kMostKept))
        machine_.reset();
    return true;
}

void VmServer::acceptMachine()
{
    while (Descriptor socket = listener_.accept(SOCK_NONBLOCK)) {
        const int on = 1;
        ::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        machine_.emplace(std::move(socket));
        decoder_ = {};
        pending_.reset();
        attention_ = false; // QEMU starts without it and is told again
        send(encodeCommand(VmCommand::interruptsOn));
    }
}

void VmServer::readMachine()
{
    if (!machine_)
        return;
    machine_->flush();
    for (const char byte : machine_->read(kReadAtOnce)) {
        // Commands tell what QEMU is able to do; nothing here depends on it.
        const auto frame = decoder_.take(static_cast<std::uint8_t>(byte));
        if (const auto request = frame ? vmRequest(*frame) : std::nullopt)
            ask(*request);
    }
}

void VmServer::ask(const VmRequest& request)
{
    const milliseconds asked = now_();
    Answer got = bmc_.handle(request.request);
    pending_.reset(); // who asks again has given up what came before
    if (got.answered)
        pending_ = {request, std::move(got.bytes), asked, asked + std::max(got.delay, milliseconds(0))};
    advance();
}

/// Attention falls before the answer that emptied the queue, or the driver would look once more; it rises after one.
void VmServer::advance()
{
    const bool attention = bmc_.attention(), changed = attention != attention_;
    if (changed && !attention)
        send(encodeCommand(VmCommand::attentionOff));
    if (pending_ && pending_->due <= now_())
        sendAnswer();
    if (changed && attention)
        send(encodeCommand(VmCommand::attentionInterrupt));
    attention_ = attention;
}

void VmServer::sendAnswer()
{
    if (now_() - pending_->asked <= kPatience)
        send(encodeAnswer(pending_->request, pending_->answer));
    pending_.reset();
}

void VmServer::send(const std::vector<std::uint8_t>& bytes)
{
    if (machine_)
        machine_->write({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
}

} // namespace Sim
