// SPDX-License-Identifier: Apache-2.0
// Grouping sensors by the controllers that own them.
#include "sdr/RefreshRoster.h"

#include "wire/SdrLayout.h"

#include <utility>

namespace Ipmi
{

namespace
{

RefreshRoster::Controller& ownerOf(const IpmiSensor& sensor, std::vector<RefreshRoster::Controller>& controllers)
{
    const auto owns = [&sensor](const RefreshRoster::Controller& controller) {
        return controller.address == sensor.getOwnerId() && controller.channel == sensor.getChannel();
    };
    const auto found = std::find_if(controllers.begin(), controllers.end(), owns);
    if (found != controllers.end())
        return *found;
    RefreshRoster::Controller& made = controllers.emplace_back();
    made.address = sensor.getOwnerId();
    made.channel = sensor.getChannel();
    return made;
}

} // namespace

void RefreshRoster::follow(std::vector<TRX::Reference<IpmiSensor>> current)
{
    const auto same = [](const auto& one, const auto& other) { return one.get() == other.get(); };
    if (std::equal(sensors.begin(), sensors.end(), current.begin(), current.end(), same))
        return;
    sensors = std::move(current);
    controllers.clear();
    for (const TRX::Reference<IpmiSensor>& sensor : sensors) {
        if ((sensor->getOwnerId() & wire::sdr::kSoftwareOwner) == 0)
            ownerOf(*sensor, controllers).members.push_back({sensor, {}});
    }
}

} // namespace Ipmi
