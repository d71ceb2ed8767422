// What a simulated BMC remembers between requests.
#pragma once

#include "sim/Machine.h"

#include <cstddef>
#include <cstdint>
#include <map>

namespace Sim
{

/// How much of a record one answer may carry; asking for more gives CAh.
struct Limits {
    std::size_t sdr = 255; ///< Get SDR, record bytes
    std::size_t sel = 255; ///< Get SEL Entry, record bytes
    std::size_t fru = 255; ///< Read FRU Data, image bytes
};

struct BmcState {

    Machine machine;
    Limits limits{};
    std::uint16_t sdrReservation = 0; ///< 0: none given, or cancelled
    std::uint16_t selReservation = 0;
    std::uint16_t lastReservation = 0;
    std::int64_t selClockOffset = 0;            ///< seconds from the host's clock, set by Set SEL Time
    std::map<std::uint8_t, Bytes> systemInfo{}; ///< parameter: bytes of set 0, set 1, ... one after another
    std::uint8_t systemInfoProgress = 0;
    std::map<std::uint8_t, std::uint64_t> asked{}; ///< requests to each satellite, by its address

    std::uint16_t newReservation();
    /// Seconds since 1970 on the BMC's clock.
    std::uint32_t now() const;
    /// The repository was changed: a newer addition time, and its reservation is cancelled.
    void touchRepository();
    /// Removes the record with that id; false: no such record.
    bool removeSdr(std::uint16_t id);
    void removeLastSdr();
    /// Appends a record that says nothing, under the next free record id.
    void addOemSdr();
    /// Appends an event under the next free record id, which is returned; 0 when there is none left.
    std::uint16_t addSelRecord(SelRecord record);
    void loseReservations() { sdrReservation = selReservation = 0; }
    /// The BMC starts anew: what it has in memory alone is lost.
    void reset();

private:
    void noteErasure();
};

} // namespace Sim
