// SPDX-License-Identifier: Apache-2.0
// Names of sensors as events speak of them: by generator id and sensor number.
#pragma once

#include "sdr/SdrBytes.h"
#include "sensors/SensorView.h"

#include <cstdint>
#include <map>
#include <span>
#include <string>

namespace Tool
{

class SelSensorNames
{
public:
    /// Knows none.
    SelSensorNames() = default;
    /// @param repository  raw records one after another, as readRepository gives them
    explicit SelSensorNames(std::span<const std::uint8_t> repository);
    /// @param sensors  of a loaded node
    explicit SelSensorNames(const Sensors& sensors);

    /// The identifier of the sensor's record; empty where the repository has none.
    /// @param generator  address or software id in the low byte, channel and LUN in the high one
    std::string name(unsigned generator, unsigned number) const;

private:
    void add(const SdrBytes& record);

    std::map<unsigned, std::string> byPlace_;
};

} // namespace Tool
