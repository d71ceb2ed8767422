// SPDX-License-Identifier: Apache-2.0
// Which FRU devices the user wants to see.
#pragma once

#include "ipmi/IpmiFru.h"

#include <optional>
#include <string>
#include <vector>

namespace Tool
{

using FruDevices = std::vector<Ipmi::IpmiFruDevice>;

struct FruSelection {
    std::optional<std::string> device; ///< "PSU FRU", "psu fru", "1" or "0x01"

    /// Keeps the devices that are wanted, which may be several. Throws Failure, which names what there is, where none
    /// is.
    void apply(FruDevices& devices) const;
    /// The one that is wanted. Throws Failure where it is none or not the only one.
    Ipmi::IpmiFruDevice one(FruDevices devices) const;
};

} // namespace Tool
