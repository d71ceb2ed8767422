// SPDX-License-Identifier: Apache-2.0
// What goes wrong with one request.
#pragma once

#include "sim/bus/Message.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace Sim
{

/// What somebody else does to the SDR repository. Each makes its time stamps newer and cancels its reservation.
enum class RepositoryChange : std::uint8_t {
    none,
    touched,
    recordRemoved, ///< the last one
    recordAdded,   ///< an OEM record, at the end
};

/// What somebody else does to the event log.
enum class SelChange : std::uint8_t {
    none,
    recordAdded,   ///< an event that says nothing
    recordDeleted, ///< the oldest one
    askedDeleted,  ///< the one that Get SEL Entry asks for; of other requests, the oldest one
    cleared,
    timeBack, ///< its clock is set an hour back
};

/// What happens to a request and its answer. Several at once apply in the order of the members.
struct FaultAction {
    // Before the command is handled:
    bool lostReservation = false; ///< SDR and SEL reservations are cancelled
    RepositoryChange repository = RepositoryChange::none;
    SelChange sel = SelChange::none;
    /// The controller asked resets: for this long, this request included, it does not answer, and what it has in memory
    /// alone is lost. The others are reached through the BMC and are silent with it.
    std::chrono::milliseconds silent{0};
    // Instead of handling it:
    bool noAnswer = false;                        ///< nobody answers
    std::optional<std::uint8_t> completionCode{}; ///< the answer is this code alone
    // To the answer; the ids are of Get SDR and Get SEL Entry, when they went well:
    std::optional<std::uint16_t> otherRecordId{}; ///< instead of the record's own id in its first two bytes
    std::optional<std::uint16_t> nextId{};        ///< instead of the next record's id
    std::vector<std::pair<std::size_t, std::uint8_t>>
        changed{};                           ///< offset (0 is the completion code) and value; past the end: nothing
    std::optional<std::size_t> lengthenTo{}; ///< zeros appended up to this many bytes, completion code included
    std::optional<std::size_t> cutTo{};      ///< bytes kept, completion code included
    std::chrono::milliseconds delay{0};
    // Beside the answer:
    std::chrono::milliseconds busy{0}; ///< for this long the driver refuses commands (EBUSY)

    /// False: the command does not reach its handler.
    bool letsHandle() const { return silent.count() == 0 && !noAnswer && !completionCode; }
};

/// What happens to the answer to `request`; what happens before it is handled is the BMC's.
void applyFault(const FaultAction& action, const Request& request, Answer& answer);

} // namespace Sim
