// SPDX-License-Identifier: Apache-2.0
// The event log as the BMC keeps it: record ids, times, reservation, and a clear that takes its time.
#pragma once

#include "sim/bmc/SelClock.h"
#include "sim/machine/Machine.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace Sim
{

/// A change to the log, for those who check that a reader missed none of them.
struct SelJournalEntry {
    enum class Kind : std::uint8_t {
        added,
        deleted,
        cleared, ///< without a record
        refused, ///< the log was full; the record is as it would have been, with id 0
    };
    Kind kind;
    SelRecord record{}; ///< as it was stored, with its id and time
};

/// In the order in which they happened.
using SelJournal = std::vector<SelJournalEntry>;

/// Keeps the records in its machine.
class SelLog
{
public:
    /// Both are kept by reference.
    SelLog(Machine& machine, const SelClock& clock) : machine_(machine), clock_(clock) {}

    /// Where the record is that a command names by its id, or by 0000h (the first) or FFFFh (the last).
    std::optional<std::size_t> find(std::uint16_t id);
    /// The id that the next record gets; 0: none is left.
    std::uint16_t nextId();
    std::size_t freeRecords() const;

    /// Appends it under the next id, which is returned; 0 when the log is full. Cancels the reservation.
    std::uint16_t add(SelRecord record);
    /// The record with the time now, where records of its type have one.
    SelRecord stamped(SelRecord record) const;
    /// The id of the record that is gone. Cancels the reservation.
    std::optional<std::uint16_t> remove(std::uint16_t id);
    /// All records are gone at once, but it goes on for as long as the machine says. Cancels the reservation, under
    /// which its status may still be asked.
    void clear(std::uint16_t reservation = 0);
    /// Whether a clear goes on, as somebody asks who may be what it waits for.
    bool isErasing();

    void reserve(std::uint16_t reservation) { reservation_ = reservation; }
    bool isReserved(std::uint16_t reservation) const { return reservation != 0 && reservation == reservation_; }
    void cancelReservation() { reservation_ = 0; }
    bool wasClearedUnder(std::uint16_t reservation) const { return reservation != 0 && reservation == clearedUnder_; }

    /// Somebody has changed the machine's records.
    void recordsChanged() { indexed_ = false; }

    /// Keeps every change from now on, or stops and forgets them.
    void keepJournal(bool on);
    const SelJournal& journal() const { return journal_; }

private:
    void index();
    void note(SelJournalEntry::Kind kind, const SelRecord& record = {});

    Machine& machine_;
    const SelClock& clock_;
    std::uint16_t reservation_ = 0; ///< 0: none given, or cancelled
    std::uint16_t clearedUnder_ = 0;
    std::uint16_t lastId_ = 0; ///< the newest that was given, where its record may be gone; 0: the last record's
    std::uint64_t eraseAsks_ = 0;
    SelClock::Milliseconds eraseEnd_{0};
    bool indexed_ = false;
    std::vector<std::uint32_t> positions_; ///< of the records, by id
    bool keepJournal_ = false;
    SelJournal journal_;
};

std::uint16_t idOf(const SelRecord& record);
void setId(SelRecord& record, std::uint16_t id);

} // namespace Sim
