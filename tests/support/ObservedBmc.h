// SPDX-License-Identifier: Apache-2.0
// A simulated BMC on /dev/ipmi<N>, whose requests a test sees before they are answered.
#pragma once

#include "sim/bmc/Bmc.h"
#include "support/SimNode.h"

namespace Support
{

struct ObservedBmc : Sim::Responder {
    Sim::Bmc bmc;
    std::function<bool(const Sim::Request&)> before{}; ///< called before each request; false: it is not answered
    SimNode sim;

    /// Its requests are logged.
    explicit ObservedBmc(Sim::Machine machine, int node = 0)
        : bmc(std::move(machine), [] { return TRX::Clock::get().steadyTime(); }), sim(*this, node)
    {
        bmc.keepLog(true);
    }

    Sim::Answer handle(const Sim::Request& request) override
    {
        return before && !before(request) ? Sim::Answer{.answered = false, .bytes = {}} : bmc.handle(request);
    }
    Sim::Answer handleMessaging(const Sim::Request& request, const std::function<Sim::Bytes()>& carryOut) override
    {
        return bmc.handleMessaging(request, carryOut);
    }
    bool isIpmb(std::uint8_t channel) const override { return bmc.isIpmb(channel); }
    std::optional<Sim::Bytes> eventAfter(std::uint64_t& seen) const override { return bmc.eventAfter(seen); }
    bool logsEvents() const override { return bmc.logsEvents(); }
    void setEventLogging(bool on) override { bmc.setEventLogging(on); }
};

} // namespace Support
