// The simulated BMC: answers requests as IPMI 2.0 says, over a machine, with faults on request.
#pragma once

#include "sim/BmcState.h"
#include "sim/FaultPlan.h"
#include "sim/Machine.h"
#include "sim/Message.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace Sim
{

/// A BMC and the other controllers of its machine. Every member may be called from any thread.
class Bmc final : public Responder
{
public:
    explicit Bmc(Machine machine);

    /// Answers one request; a controller that the machine does not have stays silent.
    Answer handle(const Request& request) override;

    /// Replaces all faults and their counters; an empty plan ends them.
    void setFaults(FaultPlan plan);
    /// Added to each answer's delay.
    void setLatency(std::chrono::milliseconds latency);
    void setLimits(const Limits& limits);

    /// Requests seen since the start or clearCounts(), faulty ones included.
    std::uint64_t count(std::uint8_t netfn, std::uint8_t cmd) const;
    std::uint64_t count() const;
    void clearCounts();

    /// Keeps the last kLogSize requests from now on, or stops and forgets them.
    void keepLog(bool on);
    std::vector<Request> log() const;

    /// Any change to the machine, made between two requests.
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
    /// Appends an event with the next free record id.
    void addSelRecord(SelRecord record);

    static constexpr std::size_t kLogSize = 100'000;

private:
    Bytes answerOf(const Request& request);

    mutable std::mutex mutex_;
    BmcState state_;
    FaultPlan faults_;
    std::chrono::milliseconds latency_{0};
    std::map<std::pair<std::uint8_t, std::uint8_t>, std::uint64_t> counts_;
    std::uint64_t total_ = 0;
    bool keepLog_ = false;
    std::vector<Request> log_;
};

} // namespace Sim
