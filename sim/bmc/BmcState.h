// SPDX-License-Identifier: Apache-2.0
// What a simulated BMC remembers between requests.
#pragma once

#include "sim/bmc/SelClock.h"
#include "sim/bmc/SelLog.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>

namespace Sim
{

/// How much of a record one answer may carry; asking for more gives CAh.
struct Limits {
    std::size_t sdr = 255; ///< Get SDR, record bytes
    std::size_t sel = 255; ///< Get SEL Entry, record bytes
    std::size_t fru = 255; ///< Read FRU Data, image bytes
};

/// What Partial Add SEL Entry has been given of a record.
struct PartialSelEntry {
    std::uint16_t id = 0; ///< of the record that it becomes; 0: there is none
    SelRecord record{};
    std::size_t size = 0;
};

/// IPMI 2.0, Set and Get Last Processed Event ID.
struct LastProcessedEvents {
    std::uint16_t bySoftware = 0;
    std::uint16_t byBmc = 0;
};

inline constexpr std::uint16_t kNoUtcOffset = 0x07ff; ///< Get SEL Time UTC Offset: unspecified

/// Events on their way to the event message buffers of the system interfaces: the last ones that happened, each with a
/// number; nobody has to take them.
class EventQueue
{
public:
    void push(const SelRecord& record)
    {
        events_.push_back(record);
        ++count_;
        if (events_.size() > kMost)
            events_.pop_front();
    }

    /// Events that ever happened.
    std::uint64_t count() const { return count_; }
    /// The oldest one that is there still and came after the first `seen`; nullopt: none came.
    std::optional<SelRecord> after(std::uint64_t seen) const
    {
        const std::uint64_t gone = count_ - events_.size(), index = seen < gone ? 0 : seen - gone;
        return index < events_.size() ? std::optional(events_[index]) : std::nullopt;
    }

private:
    static constexpr std::size_t kMost = 64;
    std::deque<SelRecord> events_;
    std::uint64_t count_ = 0;
};

struct BmcState {
    explicit BmcState(Machine machineOf, SelClock::Steady steady);
    BmcState(const BmcState&) = delete;
    BmcState& operator=(const BmcState&) = delete;

    Machine machine;
    SelClock clock;
    SelLog log;
    EventQueue events{};      ///< for the event message buffers
    bool eventLogging = true; ///< Set BMC Global Enables, System Event Logging
    Limits limits{};
    std::uint16_t sdrReservation = 0; ///< 0: none given, or cancelled
    std::uint16_t lastReservation = 0;
    PartialSelEntry partialSel{};
    std::uint16_t selUtcOffset = kNoUtcOffset;
    LastProcessedEvents lastProcessed{};
    std::map<std::uint8_t, Bytes> systemInfo{}; ///< parameter: bytes of set 0, set 1, ... one after another
    std::uint8_t systemInfoProgress = 0;
    std::uint8_t lanProgress = 0;                           ///< set in progress, of the LAN parameters
    std::optional<std::array<std::uint8_t, 2>> lanAccess{}; ///< until the next reset, in place of the LAN channel's
    std::map<std::uint8_t, std::uint64_t> asked{};          ///< requests to each satellite, by its address

    std::uint16_t newReservation();
    /// Seconds since 1970 on the BMC's clock.
    std::uint32_t now() const { return clock.now(); }
    /// The repository was changed: a newer addition time, and its reservation is cancelled.
    void touchRepository();
    /// Removes the record with that id; false: no such record.
    bool removeSdr(std::uint16_t id);
    void removeLastSdr();
    /// Appends a record that says nothing, under the next free record id.
    void addOemSdr();
    /// An event has happened: it is logged with the time now and comes into the event message buffers. Its record id; 0
    /// when it is not logged.
    /// @param always  logged even while system event logging is off, as what comes over the system interface is
    std::uint16_t raiseEvent(SelRecord record, bool always = false);
    /// Sets or clears "reading unavailable"; false: no such sensor.
    bool setUnavailable(const SensorKey& key, bool unavailable);
    /// Discrete states, or fixed comparison bits; false: no such sensor.
    bool setStates(const SensorKey& key, std::uint16_t states);
    /// Raises the events that the sensor's last reading and states make.
    void follow(Sensor& sensor);
    void followAll();
    void loseReservations();
    /// The BMC starts anew: what it has in memory alone is lost.
    void reset();

private:
    void noteErasure();
};

} // namespace Sim
