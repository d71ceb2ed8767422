#include "sim/Bmc.h"

#include "sim/Command.h"

#include <algorithm>

namespace Sim
{

namespace
{

const Command* findCommand(std::uint8_t netfn, std::uint8_t cmd)
{
    for (const auto table : {appCommands(), chassisCommands(), sensorCommands(), eventCommands(), sdrCommands(),
                             selCommands(), fruCommands()}) {
        for (const Command& command : table) {
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
        applyAfter(fault, request, answer);
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
        applyBefore(fault, request, state_);
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
    const std::lock_guard lock(mutex_);
    return state_.machine.isIpmb(channel);
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
    const Command* command = findCommand(request.netfn, request.cmd);
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

void Bmc::setLimits(const Limits& limits)
{
    const std::lock_guard lock(mutex_);
    state_.limits = limits;
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

Machine Bmc::machine() const
{
    const std::lock_guard lock(mutex_);
    return state_.machine;
}

bool Bmc::changeSensor(const SensorKey& key, const std::function<void(Sensor&)>& how)
{
    const std::lock_guard lock(mutex_);
    Sensor* sensor = state_.machine.find(key);
    if (sensor == nullptr)
        return false;
    how(*sensor);
    state_.follow(*sensor);
    return true;
}

bool Bmc::setRawReading(const SensorKey& key, std::uint8_t raw)
{
    return changeSensor(key, [raw](Sensor& sensor) {
        sensor.raw = RawSource::constant(raw);
        sensor.flags = static_cast<std::uint8_t>(sensor.flags & ~kReadingUnavailable);
    });
}

bool Bmc::setStates(const SensorKey& key, std::uint16_t states)
{
    return changeSensor(key, [states](Sensor& sensor) { sensor.states = states; });
}

bool Bmc::setUnavailable(const SensorKey& key, bool unavailable)
{
    return changeSensor(key, [unavailable](Sensor& sensor) {
        sensor.flags =
            static_cast<std::uint8_t>((sensor.flags & ~kReadingUnavailable) | (unavailable ? kReadingUnavailable : 0));
    });
}

void Bmc::touchRepository()
{
    const std::lock_guard lock(mutex_);
    state_.touchRepository();
}

bool Bmc::removeSdr(std::uint16_t recordId)
{
    const std::lock_guard lock(mutex_);
    return state_.removeSdr(recordId);
}

void Bmc::putSdr(const Bytes& record)
{
    const std::lock_guard lock(mutex_);
    auto& records = state_.machine.sdr;
    const auto same = std::find_if(records.begin(), records.end(),
                                   [&](const Bytes& other) { return wordAt(other, 0) == wordAt(record, 0); });
    if (same == records.end())
        records.push_back(record);
    else
        *same = record;
    state_.touchRepository();
}

void Bmc::loseReservations()
{
    const std::lock_guard lock(mutex_);
    state_.loseReservations();
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
    const std::lock_guard lock(mutex_);
    return state_.eventLogging;
}

void Bmc::setEventLogging(bool on)
{
    const std::lock_guard lock(mutex_);
    state_.eventLogging = on;
}

std::uint16_t Bmc::addEvent(const SelRecord& record)
{
    const std::lock_guard lock(mutex_);
    return state_.raiseEvent(record);
}

std::uint16_t Bmc::addSelRecord(const SelRecord& record)
{
    const std::lock_guard lock(mutex_);
    return state_.log.add(record);
}

bool Bmc::deleteSelRecord(std::uint16_t id)
{
    const std::lock_guard lock(mutex_);
    return state_.log.remove(id).has_value();
}

void Bmc::clearSel()
{
    const std::lock_guard lock(mutex_);
    state_.log.clear();
}

std::uint32_t Bmc::selTime() const
{
    const std::lock_guard lock(mutex_);
    return state_.now();
}

void Bmc::setSelTime(std::uint32_t seconds)
{
    const std::lock_guard lock(mutex_);
    state_.clock.set(seconds);
}

void Bmc::keepSelJournal(bool on)
{
    const std::lock_guard lock(mutex_);
    state_.log.keepJournal(on);
}

SelJournal Bmc::selJournal() const
{
    const std::lock_guard lock(mutex_);
    return state_.log.journal();
}

} // namespace Sim
