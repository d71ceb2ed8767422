// SPDX-License-Identifier: Apache-2.0
// Sensor records, one after another as in a repository: each one alone as a sensor, then all of them filed and built.
#include "entity/IpmiIfcEntity.h"
#include "node/IpmiNode.h"
#include "sdr/IpmiIfcSdr.h"
#include "sdr/IpmiIfcSensor.h"
#include "support/CallerUse.h"
#include "support/Fuzz.h"

#include <algorithm>

using namespace Ipmi;

namespace
{

constexpr std::size_t kHeader = 5, kLengthAt = 4, kLongest = 255, kMostRecords = 64;

/// A record is as long as its header says, or as there is input.
std::vector<Fuzz::Span> recordsOf(Fuzz::Span input)
{
    std::vector<Fuzz::Span> records;
    while (!input.empty() && records.size() < kMostRecords) {
        const std::size_t wanted = input.size() > kLengthAt ? kHeader + input[kLengthAt] : kHeader;
        records.push_back(input.first(std::min({wanted, input.size(), kLongest})));
        input = input.subspan(records.back().size());
    }
    return records;
}

template <typename Kind> void useAs(Fuzz::Span record)
{
    Kind sensor(static_cast<int>(record.size()), record.data(), 0);
    Fuzz::demandClean(Support::useSensor(sensor));
    // An answer that is as good as any: the record's own end.
    std::uint8_t answer[8] = {};
    std::copy_n(record.rbegin(), std::min(record.size(), std::size(answer)), std::rbegin(answer));
    sensor.setReading(answer);
    sensor.setThresholdReading(answer);
    Fuzz::demandClean(Support::useSensor(sensor));
    sensor.dump();
}

void file(Fuzz::Span record)
{
    auto* entry = new ipmiifc_sdr_list;
    entry->record_type = record.size() > 3 ? record[3] : std::uint8_t{0};
    entry->length = static_cast<std::uint8_t>(record.size());
    entry->data = new std::uint8_t[record.size()];
    std::copy(record.begin(), record.end(), entry->data);
    TRX::WriteLock lock(g_IpmiNode[0].sdrLock);
    IpmiIfcSdrListAdd(0, entry);
}

} // namespace

void Fuzz::use(Span input)
{
    const auto records = recordsOf(input);
    for (const Fuzz::Span record : records) {
        useAs<IpmiThresholdSensor>(record);
        useAs<IpmiDiscreteSensor>(record);
        file(record);
    }
    IpmiIfcSensorInstantiateAll(0);
    IpmiIfcEntityListCreate(0);
    IpmiIfcEntityInstantiateAll(0);
    std::vector<std::string> names;
    for (const auto& sensor : IpmiIfc::getSensors(0))
        names.push_back(sensor->getName());
    Fuzz::demandClean(names);
    std::sort(names.begin(), names.end());
    Fuzz::demand(std::adjacent_find(names.begin(), names.end()) == names.end(), "unique names");
    IpmiIfcSensorUpdateReading(0);
    IpmiIfcSensorRefreshAll(0);
    IpmiIfcCloseForCLI(0);
}
