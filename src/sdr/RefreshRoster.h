// SPDX-License-Identifier: Apache-2.0
// Whom a pass over a node's sensors asks: the sensors by the controller that owns them, and how often those that fail.
#pragma once

#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Ipmi
{

/// Asks what keeps failing on the next pass, then on every second, fourth ... up to every 32nd.
class BackOff
{
public:
    static constexpr unsigned int kRarest = 32;

    /// Once a pass: true when it is to be asked in this one.
    bool due() { return wait_ == 0 || --wait_ == 0; }
    void failed()
    {
        wait_ = next_;
        next_ = std::min(2 * next_, kRarest);
    }
    void reset() { *this = BackOff(); }

private:
    unsigned int wait_ = 0; ///< passes until the one that asks
    unsigned int next_ = 1; ///< after another failure
};

/// Guarded as a whole by the node's refreshLock.
struct RefreshRoster {
    struct Member {
        TRX::Reference<IpmiSensor> sensor;
        BackOff backOff;
    };
    struct Controller {
        std::uint8_t address = 0, channel = 0;
        bool silent = false;
        std::uint32_t answers = 0; ///< it had given when it fell silent
        BackOff backOff;           ///< of a silent one
        std::vector<Member> members;
    };

    std::vector<TRX::Reference<IpmiSensor>> sensors; ///< all of the node's
    std::vector<Controller> controllers;             ///< of those that can be asked, in their order
    Controller bmc; ///< the way to all of them, whose silence is theirs; without members

    /// Starts anew when these are not the sensors of the pass before: a new read of the repository forgets failures.
    void follow(std::vector<TRX::Reference<IpmiSensor>> current);
};

} // namespace Ipmi
