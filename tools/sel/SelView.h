// SPDX-License-Identifier: Apache-2.0
// What one record of the event log has to show.
#pragma once

#include "base/Json.h"
#include "ipmi/IpmiSelData.h"
#include "ipmi/Reference.h"
#include "sel/SelSensorNames.h"
#include "sel/SelTimestamp.h"
#include "terminal/Table.h"

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace Tool
{

/// Records of the log, oldest first.
using SelRecords = std::vector<TRX::Reference<Ipmi::IpmiSelData>>;

inline constexpr std::size_t kSelRecordSize = sizeof(Ipmi::sel_event_record::bytes);

std::span<const std::uint8_t, kSelRecordSize> bytesOf(const Ipmi::IpmiSelData& record);

/// How records are shown.
struct SelForm {
    bool utc = false; ///< times; else local
    bool raw = false; ///< with their bytes
};

/// What the table shows of one record: id, time, sensor, event, direction, severity, bytes.
std::vector<Table::Cell> cellsOf(const Ipmi::IpmiSelData& record, const SelSensorNames& names, const SelForm& form);
Json jsonOf(const Ipmi::IpmiSelData& record, const SelSensorNames& names, const SelForm& form);

std::string selTable(const SelRecords& records, const SelSensorNames& names, const SelForm& form);
Json selJson(const SelRecords& records, const SelSensorNames& names, const SelForm& form);

} // namespace Tool
