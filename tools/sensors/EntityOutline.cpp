// SPDX-License-Identifier: Apache-2.0
// Puts entities and sensors beneath what contains them, without circles.
#include "sensors/EntityOutline.h"

#include "ipmi/IpmiIfc.h"
#include "sdr/SdrSummary.h"

#include <algorithm>
#include <fmt/format.h>

namespace Tool
{

namespace
{

constexpr std::size_t kMostLevels = 16; ///< what a BMC puts deeper stands at the top

constexpr std::pair<unsigned, unsigned> kNoEntity{0, 0};

std::pair<unsigned, unsigned> keyOf(const Ipmi::IpmiEntity& entity)
{
    return {entity.getId(), entity.getInstance()};
}

} // namespace

EntityOutline::EntityOutline(int node, const std::vector<SensorView>& sensors)
{
    readEntities(node);
    for (std::size_t i = 0; i < sensors.size(); ++i)
        items_[add(sensors[i].entity)].sensors.push_back(i);
    for (const auto& [key, item] : byKey_)
        connect(item);
}

/// The library lists each container before what it contains, and knows no parent of an entity that it lists as a
/// container first: where such a one comes again it is inside the container that is being listed.
void EntityOutline::readEntities(int node)
{
    std::optional<std::size_t> container;
    for (const Ipmi::IpmiEntity& entity : Ipmi::IpmiIfc::getEntities(node)) {
        const std::size_t known = items_.size(), item = add(entity);
        if (item == known) {
            const Ipmi::IpmiEntity parent = entity.getParent();
            const auto above = keyOf(parent) == kNoEntity ? std::nullopt : std::optional(add(parent));
            items_[item].parent = above;
            container = items_[item].parent.value_or(item);
        } else if (items_[item].parent) {
            container.reset(); // now listed inside another one, or as a container itself: the next one tells
        } else if (item != container) {
            items_[item].parent = container;
        }
    }
}

std::size_t EntityOutline::add(const Ipmi::IpmiEntity& entity)
{
    const auto [found, isNew] = byKey_.try_emplace(keyOf(entity), items_.size());
    if (isNew)
        items_.push_back({.entity = entity, .parent = {}, .children = {}, .sensors = {}});
    return found->second;
}

void EntityOutline::connect(std::size_t item)
{
    if (isTooDeep(item))
        items_[item].parent.reset();
    else if (items_[item].parent)
        items_[*items_[item].parent].children.push_back(item);
}

bool EntityOutline::isTooDeep(std::size_t item) const
{
    std::size_t levels = 0;
    for (auto parent = items_[item].parent; parent && levels < kMostLevels; parent = items_[*parent].parent)
        ++levels;
    return levels == kMostLevels;
}

std::vector<std::size_t> EntityOutline::tops() const
{
    std::vector<std::size_t> result;
    for (const auto& [key, item] : byKey_) {
        if (!items_[item].parent)
            result.push_back(item);
    }
    std::stable_partition(result.begin(), result.end(), [this](std::size_t i) { return !items_[i].children.empty(); });
    return result;
}

bool EntityOutline::isInside(std::size_t item, const std::vector<bool>& chosen) const
{
    std::size_t at = item;
    while (!chosen[at] && items_[at].parent)
        at = *items_[at].parent;
    return chosen[at];
}

std::string entityTitle(const Ipmi::IpmiEntity& entity)
{
    return fmt::format("{} {} ({})", entity.getName(), entity.getInstance(),
                       entityKey(entity.getId(), entity.getInstance()));
}

} // namespace Tool
