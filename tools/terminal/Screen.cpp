// SPDX-License-Identifier: Apache-2.0
// Draws in place, and puts the cursor back whatever ends or stops the program.
#include "terminal/Screen.h"

#include "terminal/Terminal.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr std::string_view kHideCursor = "\033[?25l", kShowCursor = "\033[?25h";
constexpr std::string_view kHome = "\033[H", kClearLine = "\033[K", kClearRest = "\033[J";
constexpr Screen::Size kUsualSize{24, 80};

volatile std::sig_atomic_t cursorHidden = 0;

void tell(std::string_view sequence)
{
    if (cursorHidden) [[maybe_unused]]
        const ssize_t written = ::write(STDOUT_FILENO, sequence.data(), sequence.size());
}

[[noreturn]] void endBy(int signal)
{
    const Signals self{signal};
    self.handle(SIG_DFL);
    ::raise(signal);
    self.unblock();
    ::_exit(1); // not reached
}

/// Runs only where the program waits or reads, so that nothing is half written.
void onSignal(int signal)
{
    const int error = errno;
    if (signal == SIGWINCH)
        return;
    tell(kShowCursor);
    if (signal == SIGINT) {
        tell("\n"); // the terminal has written ^C
        ::_exit(0);
    }
    if (signal != SIGTSTP)
        endBy(signal);
    ::raise(SIGSTOP);
    tell(kHideCursor);
    errno = error;
}

} // namespace

Screen::Screen(bool inPlace) : inPlace_(inPlace)
{
    signals_.block();
    signals_.handle(onSignal);
    if (!inPlace_)
        return;
    writeOut(std::string(size().rows, '\n').append(kHideCursor)); // what was on the screen scrolls away, it is not lost
    cursorHidden = 1;
}

Screen::~Screen()
{
    tell(kShowCursor);
    cursorHidden = 0;
    signals_.handle(SIG_DFL);
    signals_.unblock();
}

Screen::Size Screen::size()
{
    winsize window{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) != 0 || window.ws_row == 0 || window.ws_col == 0)
        return kUsualSize;
    return {window.ws_row, window.ws_col};
}

void Screen::write(const std::string& text) const
{
    if (!inPlace_)
        return writeOut(text);
    const auto [rows, columns] = size();
    std::string frame{kHome};
    std::string_view rest = text;
    for (std::size_t row = 1; row < rows && !rest.empty(); ++row) { // the last one is the cursor's
        const std::size_t length = std::min(rest.find('\n'), rest.size());
        // Not up to the last column: clearing the rest of the line would erase what is there.
        frame.append(cutTo(rest.substr(0, length), columns - 1)).append(kClearLine) += '\n';
        rest.remove_prefix(std::min(length + 1, rest.size()));
    }
    writeOut(frame.append(kClearRest));
}

bool Screen::waitUntil(Clock::time_point end) const
{
    while (!signals_.sleepUntil(end)) {
        if (inPlace_)
            return true;
    }
    return false;
}

void Screen::interruptible(const std::function<void()>& work)
{
    const Signals ending{SIGINT, SIGTERM, SIGHUP, SIGTSTP};
    ending.unblock();
    work();
    ending.block();
}

} // namespace Tool
