// SPDX-License-Identifier: Apache-2.0
// A node's entities as its repository tells of them: containers, and under each what it contains.
#pragma once

#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiRecords.h"

#include <cstddef>
#include <cstdint>
#include <unordered_map>
#include <vector>

namespace Ipmi
{

/// One entry of the tree, which owns it. The tree is two levels deep: what is contained never contains.
struct ipmiifc_entity_list {
    ipmiifc_entity_list* next = nullptr; ///< at the same level
    /// The container; of a top-level entry the one that was last when it was added, which nothing looks up.
    ipmiifc_entity_list* parent = nullptr;
    ipmiifc_entity_list* children = nullptr;
    entity_id entity;
    std::uint8_t flags = 0; ///< bit 0: the container's presence sensor can always be read
};

/// Guarded as a whole by the node's entityLock.
struct EntityTree {
    static constexpr std::size_t kMostEntries = 16384;

    EntityTree() = default;
    ~EntityTree();
    EntityTree(const EntityTree&) = delete;
    EntityTree& operator=(const EntityTree&) = delete;

    ipmiifc_entity_list* head = nullptr;
    std::size_t entries = 0; ///< at both levels
    /// Every entry by its container and itself: a repository may name the same thousands again and again.
    std::unordered_map<std::uint64_t, ipmiifc_entity_list*> index;
    std::vector<IpmiEntity> flat; ///< what callers get
};

} // namespace Ipmi
