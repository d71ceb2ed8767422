// The simulated BMC: answers requests as IPMI 2.0 says, over a machine, with faults on request.
#pragma once

#include "sim/BmcState.h"
#include "sim/FaultPlan.h"
#include "sim/Machine.h"
#include "sim/Message.h"

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
    void setLimits(const Limits& limits);

    /// Requests since the start or clearCounts(), faulty ones and those to silent controllers included.
    std::uint64_t count(std::uint8_t netfn, std::uint8_t cmd) const;
    std::uint64_t count() const;
    Counts counts() const;
    void clearCounts();

    /// Keeps the last kLogSize requests from now on, or stops and forgets them.
    void keepLog(bool on);
    std::vector<Request> log() const;

    /// Any change to the machine, made between two requests. Sensors that read otherwise then send their events.
    void change(const std::function<void(Machine&)>& how);
    /// A copy of the machine as it is now.
    Machine machine() const;

    /// A constant raw reading from now on, available again; false: no such sensor.
    bool setRawReading(const SensorKey& key, std::uint8_t raw);
    /// Discrete states, or fixed comparison bits; false: no such sensor.
    bool setStates(const SensorKey& key, std::uint16_t states);
    /// Sets or clears "reading unavailable"; false: no such sensor.
    bool setUnavailable(const SensorKey& key, bool unavailable);
    /// The repository was changed: newer addition time, reservation cancelled.
    void touchRepository();
    /// Removes the record with that id and touches the repository; false: no such record.
    bool removeSdr(std::uint16_t recordId);
    /// Replaces the record with the same id, or appends it, and touches the repository. Sensors stay as they are.
    void putSdr(const Bytes& record);
    /// Cancels the SDR and SEL reservations.
    void loseReservations();

    /// An event of the BMC's own: logged under the next record id with the time now, where records of its type have
    /// one, and put where Read Event Message Buffer finds it. Its id; 0: the log is full, or event logging is off.
    std::uint16_t addEvent(const SelRecord& record);
    /// Appends a record under the next id and otherwise as it is; its id, or 0 when the log is full.
    std::uint16_t addSelRecord(const SelRecord& record);
    /// Somebody else deletes a record, or clears the log. False: no such record.
    bool deleteSelRecord(std::uint16_t id);
    void clearSel();
    /// The clock that events are stamped with, in seconds since 1970.
    std::uint32_t selTime() const;
    void setSelTime(std::uint32_t seconds);
    /// Keeps every change to the event log from now on, or stops and forgets them; those of change() are not among
    /// them.
    void keepSelJournal(bool on);
    SelJournal selJournal() const;

    static constexpr std::size_t kLogSize = 100'000;

private:
    using Faults = std::vector<FaultAction>;

    std::optional<Faults> begin(const Request& request);
    Answer answerOf(const Request& request);
    Bytes carryOut(const Request& request);
    void note(const Request& request);
    void beginReset(std::uint8_t address, std::chrono::milliseconds silence);
    bool isSilent(std::uint8_t address) const;
    bool changeSensor(const SensorKey& key, const std::function<void(Sensor&)>& how);

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
