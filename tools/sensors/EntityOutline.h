// SPDX-License-Identifier: Apache-2.0
// The parts of a server, each under what contains it.
#pragma once

#include "ipmi/IpmiEntity.h"
#include "sensors/SensorView.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Tool
{

class EntityOutline
{
public:
    struct Item {
        Ipmi::IpmiEntity entity;
        std::optional<std::size_t> parent;
        std::vector<std::size_t> children; ///< indexes of items, as are all
        std::vector<std::size_t> sensors;  ///< indexes into the sensors given
    };

    /// The node's entities, and those of `sensors` that are nowhere among them; the node stays open meanwhile.
    EntityOutline(int node, const std::vector<SensorView>& sensors);

    const std::vector<Item>& items() const { return items_; }
    /// Items inside none: those that contain others first; by id and instance, as children are.
    std::vector<std::size_t> tops() const;
    /// True when the item is one of those chosen, or inside one at any level.
    bool isInside(std::size_t item, const std::vector<bool>& chosen) const;

private:
    void readEntities(int node);
    std::size_t add(const Ipmi::IpmiEntity& entity);
    void connect(std::size_t item);
    bool isTooDeep(std::size_t item) const;

    std::vector<Item> items_;
    std::map<std::pair<unsigned, unsigned>, std::size_t> byKey_;
};

/// "System Board 1 (7.1)".
std::string entityTitle(const Ipmi::IpmiEntity& entity);

} // namespace Tool
