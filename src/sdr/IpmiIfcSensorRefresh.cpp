// SPDX-License-Identifier: Apache-2.0
// Refreshing a node's sensors: as designed for the polling loop, and each for itself.
#include "base/Log.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "node/IpmiNode.h"
#include "sdr/RefreshRoster.h"
#include "sdr/SensorAccess.h"
#include "sdr/SensorCommands.h"
#include "transport/TargetScope.h"
#include "wire/EventTypes.h"

namespace Ipmi
{

namespace
{

using SensorRef = TRX::Reference<IpmiSensor>;

void refreshThresholds(IpmiSensor& sensor)
{
    if (sensor.getEventReadingType() == wire::event_type::kThreshold)
        readThresholds(SensorAddress::of(sensor), sensor);
}

/// True for a sensor that is not worth another fetch before the next build.
bool hasGivenUp(const IpmiSensor& sensor)
{
    constexpr unsigned int kMostTimeouts = 2;
    const unsigned int result = sensor.getLastReadResult();
    return result == wire::cc::kNotPresent || result == wire::cc::kIllegalCommand ||
           (result == wire::cc::kTimeout && sensor.getReadResultRepeats() > kMostTimeouts);
}

/// Refreshes one sensor as the polling loop does. @return false when it got no answer, which ends the refresh
bool refreshInTurn(IpmiSensor& sensor)
{
    if (SensorAccess::isFullOrCompact(sensor)) {
        if (hasGivenUp(sensor)) {
            TRX::log(LOG_DEBUG, "Skipping reading update for previous failed sensor 0x%x", sensor.getSensorNumber());
            return true;
        }
        if (SensorAccess::fetchReading(sensor) == Answer::kNone) {
            TRX::log(LOG_DEBUG, "IpmiIfcSensorUpdateReading: failed send to get reading.");
            return false;
        }
    }
    refreshThresholds(sensor);
    return true;
}

/// What comes back for a controller that did not answer: nothing, or the driver's word for it.
bool isSilence(int result)
{
    return result == Answer::kNone || result == wire::cc::kTimeout;
}

/// One pass in which every sensor is refreshed for itself.
class RefreshPass
{
public:
    RefreshPass(int node, RefreshRoster& roster) : node_(node), roster_(roster) {}

    /// @return how many sensors are without a reading
    int run()
    {
        roster_.bmc.address = static_cast<std::uint8_t>(g_IpmiNode[node_].myAddress);
        bmcSilent_ = !isThere(roster_.bmc);
        int without = 0;
        for (Controller& controller : roster_.controllers)
            without += !bmcSilent_ && isThere(controller) ? refresh(controller) : loseReadings(controller);
        return without;
    }

private:
    using Controller = RefreshRoster::Controller;
    using Member = RefreshRoster::Member;

    std::uint32_t answersOf(const Controller& controller) const
    {
        return g_IpmiNode[node_].answers[controller.address];
    }

    /// One that is silent is there again when it has answered somebody since, or answers now that its turn has come.
    bool isThere(Controller& controller)
    {
        if (!controller.silent)
            return true;
        if (answersOf(controller) == controller.answers && !(controller.backOff.due() && isHeard(controller)))
            return false;
        controller.silent = false;
        controller.backOff.reset();
        for (Member& member : controller.members)
            member.backOff.reset();
        return true;
    }

    /// Get Device ID: every controller has an answer to it. Where not even the driver speaks for one, it is the BMC
    /// that is silent.
    bool answers(const Controller& controller)
    {
        const std::uint32_t before = answersOf(controller);
        const TargetScope target(node_, controller.address, 0, controller.channel);
        bmcSilent_ = !ask(node_, wire::kGetDeviceId).answered();
        return answersOf(controller) != before;
    }

    /// Whether it answers; one that does not, or the BMC before it, falls silent or stays so.
    bool isHeard(Controller& controller)
    {
        if (answers(controller))
            return true;
        Controller& silent = bmcSilent_ ? roster_.bmc : controller;
        silent.silent = true;
        silent.answers = answersOf(silent);
        silent.backOff.failed();
        return false;
    }

    /// @return how many of its sensors are without a reading
    int refresh(Controller& controller)
    {
        const std::uint32_t before = answersOf(controller);
        int without = 0;
        for (Member& member : controller.members) {
            if (!member.backOff.due()) {
                ++without;
                continue;
            }
            const int result = refresh(*member.sensor);
            if (result == 0) {
                member.backOff.reset();
                continue;
            }
            if (isSilence(result) && answersOf(controller) == before && !isHeard(controller))
                return loseReadings(controller);
            member.backOff.failed();
            ++without;
        }
        return without;
    }

    static int refresh(IpmiSensor& sensor)
    {
        const int result = SensorAccess::isFullOrCompact(sensor) ? SensorAccess::fetchReading(sensor) : 0;
        if (!isSilence(result))
            refreshThresholds(sensor);
        return result;
    }

    /// The readings there are do not count any more. @return how many sensors that makes
    static int loseReadings(const Controller& controller)
    {
        int count = 0;
        for (const Member& member : controller.members) {
            if (!SensorAccess::isFullOrCompact(*member.sensor))
                continue;
            ++count;
            if (!member.sensor->getLastReading().valid)
                continue;
            SensorAccess::beginReadAttempt(*member.sensor);
            SensorAccess::endReadAttempt(*member.sensor, Answer::kNone);
        }
        return count;
    }

    int node_;
    RefreshRoster& roster_;
    bool bmcSilent_ = false; ///< nothing behind it can be reached in this pass
};

} // namespace

int IpmiIfcSensorUpdateReading(int node)
{
    TRX::log(LOG_DEBUG, "Entering IpmiIfcSensorUpdateReading");
    for (const SensorRef& sensor : IpmiIfc::getSensors(node)) {
        if (!refreshInTurn(*sensor))
            break;
    }
    return 0;
}

int IpmiIfcSensorRefreshAll(int node)
{
    if (!isNode(node))
        return -1;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.refreshLock);
    self.roster.follow(IpmiIfc::getSensors(node));
    return RefreshPass(node, self.roster).run();
}

} // namespace Ipmi
