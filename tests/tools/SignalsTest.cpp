// SPDX-License-Identifier: Apache-2.0
// Programs that run for long, and what ends or stops them.
#include "Child.h"

#include "monitor/Ending.h"
#include "terminal/Progress.h"
#include "terminal/Screen.h"
#include "terminal/Terminal.h"

#include <csignal>
#include <memory>
#include <poll.h>
#include <tuple>
#include <vector>

namespace Tool
{

namespace
{

using Support::Child;
constexpr auto kLong = std::chrono::hours(1);
const std::string kHide = "\033[?25l", kShow = "\033[?25h";

} // namespace

TEST(EndingTest, ASignalOrTroubleEndsTheProgramAndASecondSignalAtOnce)
{
    const std::tuple<bool, std::vector<int>, std::string, std::string, int, int> rows[] = {
        // whether SIGHUP is ignored, the signals, the trouble, the reason, the second signal, the status
        {false, {SIGTERM}, "", "SIGTERM", 0, W_EXITCODE(0, 0)},
        {false, {SIGINT}, "", "SIGINT", 0, W_EXITCODE(0, 0)},
        {false, {SIGHUP}, "", "SIGHUP", 0, W_EXITCODE(0, 0)},
        {true, {SIGHUP, SIGTERM}, "", "SIGTERM", 0, W_EXITCODE(0, 0)},
        {false, {}, "disk full", "disk full", 0, W_EXITCODE(2, 0)},
        {false, {SIGTERM}, "", "SIGTERM", SIGINT, W_EXITCODE(0, SIGINT)},
    };
    std::vector<std::unique_ptr<Child>> children; // all at once: each has its moment to the end
    for (const auto& [nohup, signals, trouble, reason, second, status] : rows) {
        children.push_back(std::make_unique<Child>([nohup = nohup, trouble = trouble, second = second] {
            std::signal(SIGHUP, nohup ? SIG_IGN : SIG_DFL);
            Ending ending;
            writeOut("ready");
            if (!trouble.empty())
                ending.begin(trouble);
            const std::string why = ending.wait();
            ending.begin("too late");
            if (!ending.hasBegun() || ending.sleepUntil(std::chrono::steady_clock::now() + kLong))
                writeOut("not begun ");
            writeOut("end: " + why + ", " + ending.trouble() + '.');
            if (second != 0)
                ::kill(::getpid(), second);
            for (;;) // wherever it is, the program ends
                ::pause();
        }));
        children.back()->until("ready");
        for (const int signal : signals)
            children.back()->signal(signal);
        EXPECT_EQ(children.back()->until("."), "end: " + reason + ", " + trouble + '.');
    }
    for (std::size_t i = 0; i < children.size(); ++i)
        EXPECT_EQ(children[i]->status(), std::get<5>(rows[i])) << i;
}

TEST(ScreenTest, TheCursorIsBackWhenTheProgramStopsOrEnds)
{
    for (const auto& [key, signal] : {std::pair("\3", 0), {"", SIGTERM}, {"", SIGHUP}}) {
        Child child([] {
            const Screen screen(true);
            screen.write("one\n\033[31ma line that is too long\033[0m\n");
            while (screen.waitUntil(Screen::Clock::now() + kLong))
                screen.write("again");
        });
        EXPECT_EQ(child.until("\033[J"), "\r\n\r\n\r\n\r\n\r\n\r\n" + kHide +
                                             "\033[Hone\033[K\r\n\033[31ma line that is too \033[0m"
                                             "\033[K\r\n\033[J");
        child.type("\32"); // Ctrl-Z
        EXPECT_TRUE(WIFSTOPPED(child.status()));
        EXPECT_NE(child.until(kShow).find(kShow), std::string::npos);
        child.signal(SIGCONT);
        EXPECT_NE(child.until("again").find(kHide + "\033[Hagain"), std::string::npos) << "drawn anew";
        child.type(key);
        child.signal(signal);
        EXPECT_NE(child.rest().find(kShow), std::string::npos);
        const int status = child.status();
        EXPECT_EQ(WIFSIGNALED(status) ? WTERMSIG(status) : 0, signal);
        EXPECT_EQ(WEXITSTATUS(status), 0);
    }
}

TEST(ScreenTest, CtrlCEndsWhatTakesLong)
{
    Child child([] {
        const Screen screen(false);
        Screen::interruptible([] {
            for (;; ::poll(nullptr, 0, 1))
                writeOut("more");
        });
    });
    std::string output = child.until("more");
    for (; output.size() > 3 && output.substr(output.size() - 4) == "more"; output = child.until("more"))
        child.type("\3"); // more than once: ThreadSanitizer's runtime loses a signal now and then
    EXPECT_EQ(output.find(kShow), std::string::npos);
    EXPECT_EQ(child.status(), 0);
}

TEST(ProgressTest, ShowsSecondsAndLeavesNothing)
{
    Child child([] {
        {
            const Progress atOnce("At once");
        }
        const Progress progress("Reading");
        ::getchar();
    });
    EXPECT_EQ(child.until("1 s"), "\rReading ... 1 s");
    child.type("\n");
    EXPECT_TRUE(child.rest().ends_with("\r\033[K")); // on a slow machine more seconds come before
}

} // namespace Tool
