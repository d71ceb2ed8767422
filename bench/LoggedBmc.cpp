// SPDX-License-Identifier: Apache-2.0
// An event log that grows on request, behind every device of this process.
#include "LoggedBmc.h"

#include "BigMachine.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/machine/SelLayout.h"

namespace Bench
{

namespace
{

constexpr int kCapacity = 20'000;
constexpr Sim::SelRecord kEvent{
    0, 0, Sim::SelLayout::kSystemEvent, 0, 0, 0, 0, 0x20, 0, Sim::SelLayout::kEventRevision, 1, 1, 1, 0x57, 90, 85};

Sim::Machine machine(unsigned sensors)
{
    Sim::Machine made = bigMachine(sensors, Sim::kBmcAddress);
    made.selCapacity = kCapacity;
    return made;
}

} // namespace

LoggedBmc::LoggedBmc(unsigned events, unsigned sensors) : bmc_(machine(sensors)), device_(bmc_)
{
    Ipmi::KEEP_SEL_NUMBER = kCapacity;
    addEvents(events);
}

void LoggedBmc::addEvents(unsigned count)
{
    bmc_.state()->clock.set(++time_);
    for (unsigned i = 0; i < count; ++i)
        bmc_.state()->raiseEvent(kEvent);
    events_ += count;
}

} // namespace Bench
