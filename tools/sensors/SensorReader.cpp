// SPDX-License-Identifier: Apache-2.0
// Reads the sensors of a node, in an order that stays.
#include "sensors/SensorReader.h"

#include "base/Failure.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sdr/Repository.h"

#include <algorithm>
#include <fmt/format.h>
#include <tuple>

namespace Tool
{

namespace
{

auto sortKey(const Ipmi::IpmiSensor& sensor)
{
    return std::make_tuple(sensor.getOwnerId(), sensor.getLun(), sensor.getSensorNumber(), sensor.getChannel(),
                           sensor.getSensorRecordNumber());
}

} // namespace

Sensors readSensors(const NodeSession& session)
{
    const int node = session.node();
    session.requireBmc();
    if (Ipmi::IpmiIfcSdrGetInfo(node) != 0)
        throw Failure(fmt::format("the BMC behind /dev/ipmi{} has no sensor repository, or stopped answering", node));
    Sensors sensors = Ipmi::IpmiIfc::getSensors(node);
    if (sensors.empty() && Ipmi::IpmiIfc::getSdrRecords(node).empty())
        readRepository(session); // one without sensors is fine; one that cannot be read says here why
    std::sort(sensors.begin(), sensors.end(), [](const auto& a, const auto& b) { return sortKey(*a) < sortKey(*b); });
    return sensors;
}

} // namespace Tool
