// SPDX-License-Identifier: Apache-2.0
// The simulated BMC: answers requests as IPMI 2.0 says, over a machine, with faults on request.
#pragma once

#include "sim/bmc/BmcState.h"
#include "sim/bus/Message.h"
#include "sim/faults/FaultPlan.h"
#include "sim/machine/Machine.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Sim
{

/// Something that is locked for as long as this lives.
template <typename T> class Locked
{
public:
    Locked(T& value, std::mutex& mutex) : lock_(mutex), value_(value) {}
    T* operator->() const { return &value_; }

private:
    std::unique_lock<std::mutex> lock_;
    T& value_;
};

/// A BMC and the other controllers of its machine. Every member may be called from any thread.
class Bmc final : public Responder
{
public:
    using Now = std::function<std::chrono::milliseconds()>;
    using Counts = std::map<std::pair<std::uint8_t, std::uint8_t>, std::uint64_t>; ///< by netfn and cmd

    /// `now` never goes back; without one, real time. It says when a reset controller answers again, and it drives the
    /// clock that events are stamped with.
    explicit Bmc(Machine machine, Now now = {});

    /// Answers one request; a controller that the machine does not have stays silent.
    Answer handle(const Request& request) override;
    /// Counts, logs and spoils messaging commands like all others.
    Answer handleMessaging(const Request& request, const std::function<Bytes()>& carryOut) override;
    bool isIpmb(std::uint8_t channel) const override;
    std::optional<Bytes> eventAfter(std::uint64_t& seen) const override;
    bool logsEvents() const override;
    void setEventLogging(bool on) override;

    /// Replaces all faults and their counters; an empty plan ends them.
    void setFaults(FaultPlan plan);
    /// Where the random faults are, to do it all again: "seed 42, request 1234". Empty: there are none.
    std::string faultPosition() const;
    /// The controller at this address resets: silent for this long, and what it has in memory alone is lost. The others
    /// are reached through the BMC and are silent with it.
    void reset(std::uint8_t address, std::chrono::milliseconds silence);
    /// Added to each answer's delay.
    void setLatency(std::chrono::milliseconds latency);

    /// Requests since the start or clearCounts(), faulty ones and those to silent controllers included.
    std::uint64_t count(std::uint8_t netfn, std::uint8_t cmd) const;
    std::uint64_t count() const;
    Counts counts() const;
    void clearCounts();

    /// Keeps the last kLogSize requests from now on, or stops and forgets them.
    void keepLog(bool on);
    std::vector<Request> log() const;

    /// What the BMC remembers, to be looked at and changed between two requests: none is answered while the handle
    /// lives, and a thread may hold one at a time.
    Locked<BmcState> state() { return {state_, mutex_}; }
    Locked<const BmcState> state() const { return {state_, mutex_}; }
    /// Any change to the machine, made between two requests. Sensors that read otherwise then send their events.
    void change(const std::function<void(Machine&)>& how);
    /// A copy of the machine as it is now.
    Machine machine() const { return state()->machine; }

    static constexpr std::size_t kLogSize = 100'000;

private:
    using Faults = std::vector<FaultAction>;

    std::optional<Faults> begin(const Request& request);
    Answer answerOf(const Request& request);
    Bytes carryOut(const Request& request);
    void note(const Request& request);
    void beginReset(std::uint8_t address, std::chrono::milliseconds silence);
    bool isSilent(std::uint8_t address) const;

    mutable std::mutex mutex_;
    Now now_;
    BmcState state_;
    FaultPlan faults_;
    std::chrono::milliseconds latency_{0};
    std::map<std::uint8_t, std::chrono::milliseconds> silentUntil_; ///< by address
    Counts counts_;
    std::uint64_t total_ = 0;
    bool keepLog_ = false;
    std::vector<Request> log_;
};

} // namespace Sim
