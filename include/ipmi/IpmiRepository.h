// SPDX-License-Identifier: Apache-2.0
// The SDR repository as raw records.
#pragma once

#include "ipmi/Export.h"

#include <cstdint>
#include <vector>

namespace Ipmi
{

/// A whole repository as it stands in the BMC, or why it could not be read. A plain value.
struct ipmiifc_repository {
    /// How the reading ended.
    enum Result {
        kWhole,
        kNoAnswer,         ///< to the step named, at the last attempt
        kRefused,          ///< that step, with the completion code named
        kTooShort,         ///< the answer to that step
        kTooLong,          ///< a record goes on behind what the BMC can be asked for
        kEndless,          ///< a record comes again, or there are more than 16,384
        kReservationsLost, ///< again and again: something else uses the repository
        kChanging          ///< it was changed during each of three readings
    };
    enum Step { kInfo, kReservation, kRecord };

    Result result = kNoAnswer;
    Step step = kInfo;          ///< where it failed, for the results that name it
    std::uint16_t recordId = 0; ///< of the record that could not be read, or that comes again
    std::uint8_t completionCode = 0;
    std::vector<std::uint8_t> records; ///< one after another, in the repository's order; none unless it is whole
};

} // namespace Ipmi
