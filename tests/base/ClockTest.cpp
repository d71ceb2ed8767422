// SPDX-License-Identifier: Apache-2.0
// The real clock: its sleep can be woken.
#include "base/Clock.h"

#include <gtest/gtest.h>
#include <sys/time.h>
#include <unistd.h>

#include <csignal>

using namespace std::chrono_literals;

namespace
{

TEST(Clock, SleepsUntilItIsWokenAndNoShorterForASignal)
{
    TRX::Clock& clock = TRX::Clock::get();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(write(ends[1], "", 1), 1);
    clock.sleep(1h, ends[0]); // or the test does not end
    struct sigaction onAlarm {
    };
    onAlarm.sa_handler = [](int) {};
    ASSERT_EQ(sigaction(SIGALRM, &onAlarm, nullptr), 0);
    const itimerval soon{{}, {0, 10'000}};
    ASSERT_EQ(setitimer(ITIMER_REAL, &soon, nullptr), 0);
    const auto before = clock.steadyTime();
    clock.sleep(1s, -1);
    EXPECT_GE(clock.steadyTime() - before, 1s);
    close(ends[0]);
    close(ends[1]);
}

} // namespace
