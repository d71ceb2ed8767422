// SPDX-License-Identifier: Apache-2.0
// The BMC's clock, from the host's time and a steady one.
#include "sim/bmc/SelClock.h"

namespace Sim
{

using std::chrono::duration_cast;

std::uint32_t SelClock::now() const
{
    // Not before it is needed: a test's time may not be there yet when its BMC is made.
    if (!atZero_)
        atZero_ = duration_cast<Milliseconds>(std::chrono::system_clock::now().time_since_epoch()) - steady_();
    return static_cast<std::uint32_t>(duration_cast<std::chrono::seconds>(*atZero_ + steady_()).count());
}

void SelClock::set(std::uint32_t seconds)
{
    atZero_ = std::chrono::seconds(seconds) - steady_();
}

} // namespace Sim
