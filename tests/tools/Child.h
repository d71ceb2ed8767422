// SPDX-License-Identifier: Apache-2.0
// Work in a process of its own, at the other end of a terminal.
#pragma once

#include <functional>
#include <gtest/gtest.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace Support
{

/// The process ends with status 0 when its work returns.
class Child
{
public:
    explicit Child(const std::function<void()>& work)
    {
        const winsize window{.ws_row = 6, .ws_col = 20, .ws_xpixel = 0, .ws_ypixel = 0};
        pid_ = ::forkpty(&terminal_, nullptr, nullptr, &window);
        if (pid_ != 0)
            return;
        termios modes{};
        ::tcgetattr(STDIN_FILENO, &modes);
        modes.c_lflag |= NOFLSH; // Ctrl-C drops nothing that the program writes when it hears of it
        ::tcsetattr(STDIN_FILENO, TCSANOW, &modes);
        ::setenv("TERM", "xterm", 1);
        ::alarm(30); // who waits for what it never says finds its end
        work();
        ::_exit(0);
    }
    ~Child()
    {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        ::close(terminal_);
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void signal(int number) const { ::kill(pid_, number); }
    void type(std::string_view keys) const { EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), keys.size()); }
    /// What it has written, up to this text; all when it ends before.
    std::string until(std::string_view text)
    {
        std::string output;
        for (char next; output.find(text) == output.npos && ::read(terminal_, &next, 1) == 1;)
            output += next;
        return output;
    }
    std::string rest() { return until("\177"); }
    /// As waitpid says it, when it has ended or stopped.
    int status() const
    {
        int status = 0;
        ::waitpid(pid_, &status, WUNTRACED);
        return status;
    }

private:
    int terminal_ = -1;
    pid_t pid_ = 0;
};

} // namespace Support
