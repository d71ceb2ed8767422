// SPDX-License-Identifier: Apache-2.0
// What has come into a node's event log since it was looked at before.
#pragma once

#include "sel/SelView.h"

#include <array>
#include <cstdint>
#include <optional>
#include <set>

namespace Tool
{

/// The library hands events on by their times, and so misses those of the second of the addition before and those that
/// come while the BMC's clock is set back, and repeats those without a time; here the records themselves decide.
class SelNews
{
public:
    /// Some records may be missing from what could be read of a log.
    enum class Read { kWhole, kInPart };

    /// True when this record has been there before, and before anything is known of the log.
    bool isOld(const Ipmi::IpmiSelData& record) const;
    /// Of the records that the log has now those that were not there at the last call, oldest first. None at the first
    /// call. What was there once and could not be read since is no news when it can.
    SelRecords take(const SelRecords& all, Read read);

private:
    using Raw = std::array<std::uint8_t, kSelRecordSize>;

    static Raw rawOf(const Ipmi::IpmiSelData& record);

    std::optional<std::set<Raw>> known_;
};

} // namespace Tool
