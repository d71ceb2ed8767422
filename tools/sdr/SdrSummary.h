// SPDX-License-Identifier: Apache-2.0
// One record of the repository in a line: what it is, where, and what it names.
#pragma once

#include "sdr/SdrBytes.h"
#include "wire/SdrLayout.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tool
{

/// Splits raw records one after another, as readRepository gives them; the last one may be cut.
std::vector<SdrBytes> splitRecords(std::span<const std::uint8_t> all);

/// Name of a record type; empty for what the standard does not define.
std::string recordTypeName(std::uint8_t type);

/// "3.1": entity id and instance, the way ipmitool writes them.
std::string entityKey(unsigned id, unsigned instance);

struct SdrSummary {
    explicit SdrSummary(const SdrBytes& record);

    unsigned id;
    std::uint8_t type;
    std::string typeName;
    std::size_t length; ///< with the header
    std::optional<unsigned> owner, lun, number, address, device;
    std::optional<unsigned> entityId, entityInstance;
    std::string name;                 ///< identifier, as stored
    std::vector<std::string> members; ///< of an association: "3.1", or "32.1 to 32.3"
    std::string data;                 ///< what follows the header, in hexadecimal, where nothing else is known

    /// "0x20/0 0x01": owner, LUN and number, or the address of what is located. Empty for others.
    std::string place() const;

private:
    void read(const SdrBytes& record);
    void readSensor(const SdrBytes& record, std::size_t idCode);
    void readLocator(const SdrBytes& record);
    void readAssociation(const SdrBytes& record, const Ipmi::wire::sdr::AssociationLayout& layout);
};

} // namespace Tool
