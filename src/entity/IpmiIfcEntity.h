// SPDX-License-Identifier: Apache-2.0
// The entity tree of a node, built from its entity associations and sensor records (IPMI 2.0, 43.4, 43.5 and 39.1).
#pragma once

#include "entity/EntityTree.h"
#include "ipmi/IpmiEntity.h"
#include "ipmi/IpmiRecords.h"

namespace Ipmi
{

// All of these but the ones that take an entry lock the node's entityLock themselves. A node outside 0..3 has an empty
// tree that nothing can be added to.

/// Adds what the node's records name; what is in the tree already stays. Takes sdrLock. @return 0
int IpmiIfcEntityListCreate(int node);
/// @return 0; -1 when the entity is a top-level entry already, the tree is full or memory ran out
int IpmiIfcEntityAddParent(int node, entity_id* entity, unsigned char flag);
/// @return 0; -1 when the container is no top-level entry, has the child already, the tree is full or memory ran out
int IpmiIfcEntityAddChild(int node, entity_id* container, unsigned char childId, unsigned char childInstance);
/// @return -1 when the entity is anywhere in the tree, else 0
int IpmiIfcEntityOnList(int node, entity_id* entity);
/// The same for a list of entries and what is under them.
int IpmiIfcEntityOnChildList(ipmiifc_entity_list* first, entity_id* entity);
/// The container of an entity; the empty entity for a top-level one and for one that is not in the tree.
IpmiEntity IpmiIfcEntityFindParent(int node, entity_id* entity);
/// Makes the flat list anew: each top-level entry, its children behind it. @return 0
int IpmiIfcEntityInstantiateAll(int node);
/// Appends an entry and its children to the flat list; the caller holds entityLock. @return 0
int IpmiIfcEntityInstantiate(int node, ipmiifc_entity_list* entry);
/// Frees the tree; the flat list stays.
void IpmiIfcEntityCleanUpAll(int node);
void IpmiIfcEntityCleanupChild(ipmiifc_entity_list* first);
/// Walks the tree and prints nothing: places for a debugger to stop at.
void IpmiIfcEntityDumpAll(int node);
void IpmiIfcEntityDump(ipmiifc_entity_list* entry);

} // namespace Ipmi
