// SPDX-License-Identifier: Apache-2.0
// Which records of the event log are meant.
#pragma once

#include "sel/SelView.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Tool
{

struct SelSelection {
    std::optional<unsigned> last;      ///< only as many of the newest
    std::optional<std::int64_t> since; ///< only those of this time (seconds since 1970) and after

    /// Keeps what fits both. A record without a point in time goes with the one before it.
    void apply(SelRecords& records) const;
};

/// Seconds since 1970. Throws Failure for a text that is no time.
std::int64_t sinceFrom(const std::string& text, bool utc);
/// The id of one record. Throws Failure.
std::uint16_t recordIdFrom(const std::string& text);

} // namespace Tool
