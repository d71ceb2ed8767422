// SPDX-License-Identifier: Apache-2.0
// One poll for everybody served.
#include "sim/loop/EventLoop.h"

#include <algorithm>

namespace Sim
{

namespace
{

using std::chrono::milliseconds;

/// For poll(): until somebody has something to do by itself.
int timeout(std::initializer_list<Served*> everybody)
{
    constexpr long kForever = -1, kOneMinute = 60'000;
    std::optional<milliseconds> next;
    for (const Served* served : everybody) {
        if (const auto due = served->nextDue())
            next = std::min(next.value_or(*due), *due);
    }
    return static_cast<int>(next ? std::clamp<long>((*next - now()).count(), 0, kOneMinute) : kForever);
}

} // namespace

milliseconds now()
{
    return std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now().time_since_epoch());
}

void runEventLoop(std::initializer_list<Served*> everybody)
{
    std::vector<pollfd> waiting;
    for (bool goOn = true; goOn;) {
        waiting.clear();
        for (const Served* served : everybody)
            served->addTo(waiting);
        ::poll(waiting.data(), waiting.size(), timeout(everybody));
        for (Served* served : everybody)
            goOn = served->serve() && goOn;
    }
}

} // namespace Sim
