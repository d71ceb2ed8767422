// Every change to an event log, for those who check that a reader missed none of them.
#pragma once

#include "sim/Machine.h"

#include <vector>

namespace Sim
{

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

} // namespace Sim
