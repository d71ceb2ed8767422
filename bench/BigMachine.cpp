// SPDX-License-Identifier: Apache-2.0
// The records of big machines, and the BMC that finds them by their number.
#include "BigMachine.h"

#include "sim/bmc/BmcCommand.h"
#include "sim/machine/SdrLayout.h"
#include "sim/machine/SdrSensors.h"
#include "sim/machine/SdrWriter.h"

#include <algorithm>

namespace Bench
{

namespace
{

constexpr unsigned kSensorsPerOwner = 250;
constexpr std::uint8_t kGetSdr = 0x23;

Sim::Bytes recordOf(unsigned index, std::uint8_t firstOwner)
{
    Sim::SensorRecord record;
    record.key = {.owner = static_cast<std::uint8_t>(firstOwner + 2 * (index / kSensorsPerOwner)),
                  .number = static_cast<std::uint8_t>(index % kSensorsPerOwner)};
    record.entityId = 7;
    record.capabilities = 0x28; // thresholds and hysteresis readable and settable
    record.type = 1;
    record.masks = {0x7fff, 0x7fff, 0x3f3f};
    record.units = {0, 1, 0};
    record.thresholds = {10, 5, 2, 80, 90, 100};
    record.hysteresis = {2, 2};
    record.id = Sim::encodeIdString("Sensor " + std::to_string(index), Sim::IdEncoding::latin1);
    return Sim::writeSensorRecord(static_cast<std::uint16_t>(index + 1), record);
}

} // namespace

Sim::Machine bigMachine(unsigned records, std::uint8_t firstOwner)
{
    Sim::Machine machine;
    machine.name = "big";
    for (unsigned i = 0; i < records; ++i)
        machine.sdr.push_back(recordOf(i, firstOwner));
    machine.sensors = Sim::sensorsOf(machine.sdr);
    return machine;
}

BigBmc::BigBmc(unsigned records) : bmc_(bigMachine(records))
{
    records_ = bmc_.machine().sdr;
}

Sim::Answer BigBmc::handle(const Sim::Request& request)
{
    ++count_;
    if (request.netfn == Sim::kStorageNetfn && request.cmd == kGetSdr && request.data.size() == 6)
        return getSdr(request);
    return bmc_.handle(request);
}

Sim::Answer BigBmc::getSdr(const Sim::Request& request) const
{
    const std::size_t id = std::max<std::size_t>(Sim::wordAt(request.data, 2), 1);
    const std::size_t offset = request.data[4];
    Sim::Answer answer;
    if (id > records_.size() || offset >= records_[id - 1].size()) {
        answer.bytes = {Sim::kNotPresent};
        return answer;
    }
    const Sim::Bytes& record = records_[id - 1];
    const auto from = record.begin() + static_cast<std::ptrdiff_t>(offset);
    answer.bytes = {Sim::kOk};
    Sim::putWord(answer.bytes, id < records_.size() ? static_cast<unsigned>(id + 1) : 0xffffU);
    answer.bytes.insert(
        answer.bytes.end(), from,
        from + static_cast<std::ptrdiff_t>(std::min<std::size_t>(request.data[5], record.size() - offset)));
    return answer;
}

} // namespace Bench
