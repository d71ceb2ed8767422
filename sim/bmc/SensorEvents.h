// SPDX-License-Identifier: Apache-2.0
// Events that a sensor makes as its reading and its states change: IPMI 2.0, chapters 35 and 42.
#pragma once

#include "sim/machine/Machine.h"

#include <vector>

namespace Sim
{

struct SensorEvent {
    std::uint8_t offset; ///< of the state, or of the threshold event
    bool asserted;
};

/// Looks at the sensor's last reading and its states. Events that it is to send, in the order in which they happen when
/// a reading rises or falls; none when it is looked at for the first time, nor while it is not available or not
/// scanned.
std::vector<SensorEvent> takeEvents(Sensor& sensor);

/// Arms the events again that the masks select: what is asserted still happens once more.
void rearm(Sensor& sensor, std::uint16_t assertions, std::uint16_t deassertions);

/// The event as a record without id and time.
/// @param channel  of the IPMB where the sensor's owner is
SelRecord recordOf(const Sensor& sensor, const SensorEvent& event, std::uint8_t channel);

} // namespace Sim
