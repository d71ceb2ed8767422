// SPDX-License-Identifier: Apache-2.0
// How a request runs: counted, spoiled by its faults, carried out by its command.
#include "sim/bmc/Bmc.h"

#include "sim/bmc/BmcCommand.h"
#include "sim/bmc/Interference.h"

#include <algorithm>

namespace Sim
{

namespace
{

const BmcCommand* findCommand(std::uint8_t netfn, std::uint8_t cmd)
{
    for (const auto table : {appCommands(), chassisCommands(), sensorCommands(), eventCommands(), sdrCommands(),
                             selCommands(), fruCommands(), lanCommands()}) {
        for (const BmcCommand& command : table) {
            if (command.netfn == netfn && command.cmd == cmd)
                return &command;
        }
    }
    return nullptr;
}

const Answer kSilence{.answered = false, .bytes = {}};

bool isHandled(const std::vector<FaultAction>& faults)
{
    return std::all_of(faults.begin(), faults.end(), [](const FaultAction& fault) { return fault.letsHandle(); });
}

void applyFaults(const std::vector<FaultAction>& faults, const Request& request, Answer& answer)
{
    for (const FaultAction& fault : faults)
        applyFault(fault, request, answer);
}

std::chrono::milliseconds realTime()
{
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

} // namespace

Bmc::Bmc(Machine machine, Now now) : now_(now ? std::move(now) : realTime), state_(std::move(machine), now_) {}

/// Counts the request; what goes wrong with it, or nothing at all where nobody answers.
std::optional<Bmc::Faults> Bmc::begin(const Request& request)
{
    note(request);
    if (isSilent(request.address))
        return std::nullopt; // nor is it any fault's turn
    Faults faults = faults_.due(request);
    for (const FaultAction& fault : faults) {
        interfere(fault, request, state_);
        if (fault.silent.count() > 0)
            beginReset(request.address, fault.silent);
    }
    return faults;
}

Answer Bmc::handle(const Request& request)
{
    const std::lock_guard lock(mutex_);
    const auto faults = begin(request);
    if (!faults)
        return kSilence;
    Answer answer;
    if (isHandled(*faults))
        answer = answerOf(request);
    else
        answer.answered = state_.machine.presenceOf(request.channel, request.address) == Presence::answers;
    answer.delay += latency_;
    applyFaults(*faults, request, answer);
    return answer;
}

Answer Bmc::handleMessaging(const Request& request, const std::function<Bytes()>& carryOut)
{
    std::unique_lock lock(mutex_);
    const auto faults = begin(request);
    if (!faults)
        return kSilence;
    Answer answer{.delay = latency_, .bytes = {}};
    lock.unlock(); // it may call handle()
    if (isHandled(*faults))
        answer.bytes = carryOut();
    applyFaults(*faults, request, answer);
    return answer;
}

bool Bmc::isIpmb(std::uint8_t channel) const
{
    return state()->machine.isIpmb(channel);
}

void Bmc::note(const Request& request)
{
    ++counts_[{request.netfn, request.cmd}];
    ++total_;
    if (!keepLog_)
        return;
    if (log_.size() >= kLogSize)
        log_.erase(log_.begin(), log_.begin() + kLogSize / 2);
    log_.push_back(request);
}

void Bmc::beginReset(std::uint8_t address, std::chrono::milliseconds silence)
{
    auto& until = silentUntil_[address];
    until = std::max(until, now_() + silence);
    if (address == kBmcAddress)
        state_.reset();
}

bool Bmc::isSilent(std::uint8_t address) const
{
    const auto silent = [this](std::uint8_t controller) {
        const auto found = silentUntil_.find(controller);
        return found != silentUntil_.end() && now_() < found->second;
    };
    return silent(address) || silent(kBmcAddress);
}

/// As the controller itself answers.
Answer Bmc::answerOf(const Request& request)
{
    const Machine& machine = state_.machine;
    const Presence presence = machine.presenceOf(request.channel, request.address);
    if (presence != Presence::answers)
        return {.answered = false, .bytes = {}, .notSent = presence == Presence::nak ? kNakOnWrite : kOk};
    const auto found = machine.controllers.find(request.address);
    if (found == machine.controllers.end())
        return {.bytes = carryOut(request)};
    const Controller& controller = found->second;
    const bool busy = state_.asked[request.address]++ % (controller.busy + 1) < controller.busy;
    return {.delay = controller.latency, .bytes = busy ? Bytes{kNodeBusy} : carryOut(request)};
}

Bytes Bmc::carryOut(const Request& request)
{
    const BmcCommand* command = findCommand(request.netfn, request.cmd);
    if (command == nullptr || (request.address != kBmcAddress && !command->everywhere))
        return {kInvalidCommand};
    if (request.lun != 0 && !command->everywhere)
        return {kInvalidForLun};
    if (request.data.size() < command->shortest || request.data.size() > command->longest)
        return {kInvalidLength};
    return command->handler(state_, request);
}

void Bmc::setFaults(FaultPlan plan)
{
    const std::lock_guard lock(mutex_);
    faults_ = std::move(plan);
}

std::string Bmc::faultPosition() const
{
    const std::lock_guard lock(mutex_);
    return faults_.position();
}

void Bmc::reset(std::uint8_t address, std::chrono::milliseconds silence)
{
    const std::lock_guard lock(mutex_);
    beginReset(address, silence);
}

void Bmc::setLatency(std::chrono::milliseconds latency)
{
    const std::lock_guard lock(mutex_);
    latency_ = latency;
}

std::uint64_t Bmc::count(std::uint8_t netfn, std::uint8_t cmd) const
{
    const std::lock_guard lock(mutex_);
    const auto found = counts_.find({netfn, cmd});
    return found == counts_.end() ? 0 : found->second;
}

std::uint64_t Bmc::count() const
{
    const std::lock_guard lock(mutex_);
    return total_;
}

Bmc::Counts Bmc::counts() const
{
    const std::lock_guard lock(mutex_);
    return counts_;
}

void Bmc::clearCounts()
{
    const std::lock_guard lock(mutex_);
    counts_.clear();
    total_ = 0;
}

void Bmc::keepLog(bool on)
{
    const std::lock_guard lock(mutex_);
    keepLog_ = on;
    log_.clear();
}

std::vector<Request> Bmc::log() const
{
    const std::lock_guard lock(mutex_);
    return log_;
}

void Bmc::change(const std::function<void(Machine&)>& how)
{
    const std::lock_guard lock(mutex_);
    how(state_.machine);
    state_.log.recordsChanged();
    state_.followAll();
}

std::optional<Bytes> Bmc::eventAfter(std::uint64_t& seen) const
{
    const std::lock_guard lock(mutex_);
    const auto event = state_.events.after(seen);
    seen = state_.events.count();
    return event ? std::optional(Bytes(event->begin(), event->end())) : std::nullopt;
}

bool Bmc::logsEvents() const
{
    return state()->eventLogging;
}

void Bmc::setEventLogging(bool on)
{
    state()->eventLogging = on;
}

} // namespace Sim
