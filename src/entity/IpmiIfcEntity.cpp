// SPDX-License-Identifier: Apache-2.0
// Building the tree from associations and sensor records, and looking in it.
#include "entity/IpmiIfcEntity.h"

#include "ipmi/IpmiIfc.h"
#include "node/IpmiNode.h"
#include "wire/Bits.h"
#include "wire/SdrLayout.h"

#include <memory>
#include <new>
#include <utility>

namespace Ipmi
{

namespace
{

using wire::sdr::kInstanceBits;

/// Key of an entity under a container, or at the top where that is null.
std::uint64_t keyOf(const entity_id* container, const entity_id& entity)
{
    const auto half = [](const entity_id& id) { return std::uint64_t{id.id} << 8 | (id.instance & kInstanceBits); };
    constexpr std::uint64_t kTop = 0x10000;
    return (container ? half(*container) : kTop) << 32 | half(entity);
}

ipmiifc_entity_list* find(const EntityTree& tree, std::uint64_t key)
{
    const auto found = tree.index.find(key);
    return found == tree.index.end() ? nullptr : found->second;
}

/// The entry at or below a list of siblings; a loop at each of the two levels.
ipmiifc_entity_list* findBelow(ipmiifc_entity_list* first, const entity_id& entity)
{
    for (; first; first = first->next) {
        if (first->entity == entity)
            return first;
        if (ipmiifc_entity_list* below = findBelow(first->children, entity))
            return below;
    }
    return nullptr;
}

/// An entry that is in the index and not yet in a list. Null when there is one already, or no room.
ipmiifc_entity_list* newEntry(EntityTree& tree, std::uint64_t key)
{
    if (tree.entries >= EntityTree::kMostEntries || find(tree, key))
        return nullptr;
    std::unique_ptr<ipmiifc_entity_list> made(new (std::nothrow) ipmiifc_entity_list);
    try {
        if (made)
            tree.index.emplace(key, made.get());
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
    return made.release();
}

/// Appends an entry to a list; the one before it, or null, comes back in `last`. Null when the list has the entity
/// already, or there is no room.
ipmiifc_entity_list* append(EntityTree& tree, const entity_id* container, ipmiifc_entity_list*& first,
                            const entity_id& entity, ipmiifc_entity_list*& last)
{
    ipmiifc_entity_list* made = newEntry(tree, keyOf(container, entity));
    if (!made)
        return nullptr;
    made->entity = entity;
    last = first;
    while (last && last->next)
        last = last->next;
    (last ? last->next : first) = made;
    ++tree.entries;
    return made;
}

IpmiEntity valueOf(int node, const entity_id& entity)
{
    return IpmiEntity(entity.id, entity.instance & kInstanceBits, node);
}

/// An entity association record, and how it is added to the tree.
class Association
{
public:
    Association(int node, const ipmiifc_sdr_list& record)
        : node_(node),
          record_(record), container_{record.at(wire::sdr::kContainerId), record.at(wire::sdr::kContainerInstance)}
    {
    }

    void add()
    {
        const unsigned int flags = record_.at(kLayout.flags);
        IpmiIfcEntityAddParent(node_, &container_, wire::bit(flags, wire::sdr::kPresenceReadableBit));
        if (wire::bit(flags, wire::sdr::kRangesBit)) {
            addRange(kLayout.firstMember);
            addRange(kLayout.firstMember + 2 * kLayout.memberSize);
            return;
        }
        for (std::size_t i = 0; i < wire::sdr::kMemberCount; ++i)
            addMember(kLayout.firstMember + i * kLayout.memberSize);
    }

private:
    // Device-relative associations too: this is meant.
    static constexpr wire::sdr::AssociationLayout kLayout = wire::sdr::kEntityLayout;

    entity_id memberAt(std::size_t offset) const { return {record_.at(offset), record_.at(offset + 1)}; }

    void addMember(std::size_t offset)
    {
        const entity_id member = memberAt(offset);
        if (member.id != 0)
            IpmiIfcEntityAddChild(node_, &container_, member.id, member.instance);
    }

    void addRange(std::size_t offset)
    {
        const entity_id first = memberAt(offset), last = memberAt(offset + kLayout.memberSize);
        if (first.id == 0 || first.id != last.id)
            return;
        for (unsigned int instance = first.instance; instance <= last.instance; ++instance)
            IpmiIfcEntityAddChild(node_, &container_, first.id, static_cast<unsigned char>(instance));
    }

    int node_;
    const ipmiifc_sdr_list& record_;
    entity_id container_;
};

void addOwners(int node, const ipmiifc_sdr_list* sensors)
{
    for (; sensors; sensors = sensors->next) {
        entity_id entity{sensors->at(wire::sdr::kEntityId), sensors->at(wire::sdr::kEntityInstance)};
        if (IpmiIfcEntityOnList(node, &entity) == 0)
            IpmiIfcEntityAddParent(node, &entity, 0);
    }
}

} // namespace

EntityTree::~EntityTree()
{
    IpmiIfcEntityCleanupChild(head);
}

int IpmiIfcEntityListCreate(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::ReadLock hold(self.sdrLock);
    for (const auto* record = self.repository.sdr_entity_assoc; record; record = record->next)
        Association(node, *record).add();
    addOwners(node, self.repository.sdr_full);
    addOwners(node, self.repository.sdr_compact);
    addOwners(node, self.repository.sdr_eventonly);
    return 0;
}

int IpmiIfcEntityAddParent(int node, entity_id* entity, unsigned char flag)
{
    if (!isNode(node) || !entity)
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    EntityTree& tree = self.entities;
    ipmiifc_entity_list* last = nullptr;
    ipmiifc_entity_list* made = append(tree, nullptr, tree.head, *entity, last);
    if (!made)
        return -1;
    made->parent = last;
    made->flags = flag & 1;
    return 0;
}

int IpmiIfcEntityAddChild(int node, entity_id* container, unsigned char childId, unsigned char childInstance)
{
    if (!isNode(node) || !container)
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    EntityTree& tree = self.entities;
    ipmiifc_entity_list* owner = find(tree, keyOf(nullptr, *container));
    if (!owner)
        return -1;
    ipmiifc_entity_list* last = nullptr;
    ipmiifc_entity_list* made = append(tree, container, owner->children, {childId, childInstance}, last);
    if (!made)
        return -1;
    made->parent = owner;
    made->flags = owner->flags;
    return 0;
}

int IpmiIfcEntityOnList(int node, entity_id* entity)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    return IpmiIfcEntityOnChildList(self.entities.head, entity);
}

int IpmiIfcEntityOnChildList(ipmiifc_entity_list* first, entity_id* entity)
{
    return entity && findBelow(first, *entity) ? -1 : 0;
}

IpmiEntity IpmiIfcEntityFindParent(int node, entity_id* entity)
{
    if (!isNode(node) || !entity)
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    for (const auto* entry = self.entities.head; entry && !(entry->entity == *entity); entry = entry->next) {
        const ipmiifc_entity_list* child = findBelow(entry->children, *entity);
        if (child && child->parent)
            return valueOf(node, child->parent->entity);
    }
    return {};
}

int IpmiIfcEntityInstantiateAll(int node)
{
    if (!isNode(node))
        return 0;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    self.entities.flat.clear();
    for (auto* entry = self.entities.head; entry; entry = entry->next)
        IpmiIfcEntityInstantiate(node, entry);
    return 0;
}

int IpmiIfcEntityInstantiate(int node, ipmiifc_entity_list* entry) TRX_NO_THREAD_SAFETY_ANALYSIS
{
    if (!isNode(node) || !entry)
        return 0;
    g_IpmiNode[node].entities.flat.push_back(valueOf(node, entry->entity));
    for (auto* child = entry->children; child; child = child->next)
        IpmiIfcEntityInstantiate(node, child);
    return 0;
}

void IpmiIfcEntityCleanUpAll(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    IpmiIfcEntityCleanupChild(self.entities.head);
    self.entities.head = nullptr;
    self.entities.entries = 0;
    self.entities.index.clear();
}

void IpmiIfcEntityCleanupChild(ipmiifc_entity_list* first)
{
    while (first) {
        IpmiIfcEntityCleanupChild(first->children);
        delete std::exchange(first, first->next);
    }
}

void IpmiIfcEntityDumpAll(int node)
{
    if (!isNode(node))
        return;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    for (auto* entry = self.entities.head; entry; entry = entry->next)
        IpmiIfcEntityDump(entry);
}

void IpmiIfcEntityDump(ipmiifc_entity_list* entry)
{
    for (auto* child = entry ? entry->children : nullptr; child; child = child->next)
        IpmiIfcEntityDump(child);
}

std::vector<IpmiEntity> IpmiIfc::getEntities(int node)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.entityLock);
    return self.entities.flat;
}

IpmiEntity IpmiIfc::getEntityParent(int node, unsigned int id, unsigned int instance)
{
    constexpr unsigned int kHighest = 0xff;
    if (id > kHighest)
        return {};
    entity_id entity{static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(instance & kInstanceBits)};
    return IpmiIfcEntityFindParent(node, &entity);
}

IpmiEntity IpmiEntity::getParent() const
{
    return IpmiIfc::getEntityParent(node_, id_, instance_);
}

} // namespace Ipmi
