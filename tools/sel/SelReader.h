// SPDX-License-Identifier: Apache-2.0
// The event log, or its newest records, through the library.
#pragma once

#include "node/NodeSession.h"
#include "sel/SelView.h"

#include <cstddef>
#include <optional>

namespace Tool
{

/// A record of the log, and what follows it.
struct SelEntry {
    std::uint16_t next = 0; ///< id of the record behind it; FFFFh for none
    Ipmi::sel_event_record record{};
};

/// Reads one record whole (IPMI 2.0, 31.5); FFFFh stands for the newest. Nothing without a good answer.
std::optional<SelEntry> readSelEntry(int node, std::uint16_t id);

/// What could be read of the log.
struct SelContent {
    SelRecords records;     ///< the newest at the end; may be fewer or more than were wanted
    std::size_t wanted = 0; ///< how many of them there should be

    bool isComplete() const { return records.size() >= wanted; }
};

/// Reads the whole log or, with `last`, at least as many of its newest records. Throws Failure when the BMC has no log
/// or says nothing.
SelContent readSel(const NodeSession& session, std::optional<unsigned> last);

/// Whether records came or went since the log was read; nothing when the BMC does not say.
std::optional<bool> hasSelChanged(const NodeSession& session);

/// Asks the BMC for the log's state and reads none of its records. Throws Failure likewise.
void readSelState(const NodeSession& session);

} // namespace Tool
