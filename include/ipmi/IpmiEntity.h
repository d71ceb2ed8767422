// SPDX-License-Identifier: Apache-2.0
// One physical or logical part of the server, as the IPMI entity id codes name it.
#pragma once

#include "ipmi/Export.h"

#include <string>

namespace Ipmi
{

/// An entity (IPMI 2.0, table 43-13): a plain value.
class TRX_IPMI_API IpmiEntity
{
public:
    IpmiEntity() = default;
    IpmiEntity(unsigned int id, unsigned int instance, int node);

    unsigned int getId() const { return id_; }
    /// Entity instance, 7 bits.
    unsigned int getInstance() const { return instance_; }
    int getNode() const { return node_; }

    /// Display name of this entity's id. @threads any; sends nothing
    std::string getName() const;
    /// Display name of an entity id; "Other" for ids that the standard leaves open. @threads any; sends nothing
    static std::string getName(unsigned int id);
    /// Name of the CIM alert-indication class for events of this entity; logged at LOG_DEBUG. @threads any; sends
    /// nothing
    std::string getAlertClassName() const;

    /// The entity that contains this one, as IpmiIfc::getEntityParent of its node. @threads any; sends nothing
    IpmiEntity getParent() const;

private:
    unsigned int id_ = 0;
    unsigned int instance_ = 0;
    [[maybe_unused]] unsigned int reserved_ = 0;
    int node_ = 0;

    struct Mapping;
    static const Mapping _mapping[];
};

} // namespace Ipmi
