// Which records of the event log are meant.
#pragma once

#include "SelView.h"

#include <cstdint>
#include <optional>

namespace Tool
{

struct SelSelection {
    std::optional<unsigned> last;      ///< only as many of the newest
    std::optional<std::int64_t> since; ///< only those of this time (seconds since 1970) and after

    /// Keeps what fits both. A record without a point in time goes with the one before it.
    void apply(SelRecords& records) const;
};

} // namespace Tool
