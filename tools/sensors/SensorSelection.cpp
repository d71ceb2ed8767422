// SPDX-License-Identifier: Apache-2.0
// Chooses sensors by entity and by type.
#include "sensors/SensorSelection.h"

#include "base/Number.h"
#include "sensors/EntityOutline.h"
#include "terminal/Choice.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <set>

namespace Tool
{

namespace
{

/// "7", "0x07" or "7.1".
bool hasKey(const Ipmi::IpmiEntity& entity, const std::string& wanted)
{
    const auto dot = wanted.find('.');
    const bool sameId = byteFrom(wanted.substr(0, dot)) == entity.getId();
    return sameId && (dot == std::string::npos || byteFrom(wanted.substr(dot + 1)) == entity.getInstance());
}

bool isMeant(const Ipmi::IpmiEntity& entity, const std::string& wanted)
{
    const std::string name = entity.getName();
    return hasKey(entity, wanted) || isSameName(name, wanted) ||
           isSameName(fmt::format("{} {}", name, entity.getInstance()), wanted);
}

/// Which sensors are of such an entity, or inside one.
std::vector<bool> ofEntity(const EntityOutline& tree, const std::string& wanted, std::size_t sensors)
{
    std::vector<std::string> known;
    std::vector<bool> meant;
    for (const EntityOutline::Item& item : tree.items()) {
        known.push_back(entityTitle(item.entity));
        meant.push_back(isMeant(item.entity, wanted));
    }
    if (std::find(meant.begin(), meant.end(), true) == meant.end())
        nothingFits("entity", wanted, known);
    std::vector<bool> result(sensors);
    for (std::size_t i = 0; i < meant.size(); ++i) {
        for (const std::size_t sensor : tree.items()[i].sensors)
            result[sensor] = tree.isInside(i, meant);
    }
    return result;
}

std::vector<bool> ofType(const std::vector<SensorView>& sensors, const std::string& wanted)
{
    std::set<std::string> known;
    std::vector<bool> result;
    for (const SensorView& sensor : sensors) {
        known.insert(sensor.type);
        result.push_back(isSameName(sensor.type, wanted) || byteFrom(wanted) == sensor.typeCode);
    }
    if (std::find(result.begin(), result.end(), true) == result.end())
        nothingFits("sensor of type", wanted, {known.begin(), known.end()});
    return result;
}

void keep(Sensors& sensors, const std::vector<bool>& wanted)
{
    Sensors kept;
    for (std::size_t i = 0; i < sensors.size(); ++i) {
        if (wanted[i])
            kept.push_back(sensors[i]);
    }
    sensors = std::move(kept);
}

} // namespace

void SensorSelection::apply(int node, Sensors& sensors) const
{
    const std::vector<SensorView> views = viewsOf(sensors);
    std::vector<bool> wanted(sensors.size(), true);
    if (type)
        wanted = ofType(views, *type);
    if (entity) {
        const std::vector<bool> inside = ofEntity(EntityOutline(node, views), *entity, sensors.size());
        std::transform(wanted.begin(), wanted.end(), inside.begin(), wanted.begin(), std::logical_and<>());
    }
    keep(sensors, wanted);
}

} // namespace Tool
