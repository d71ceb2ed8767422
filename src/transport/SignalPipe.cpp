// SPDX-License-Identifier: Apache-2.0
// The pipe's ends, and the waits that it ends.
#include "transport/SignalPipe.h"

#include "base/Clock.h"
#include "base/Log.h"
#include "ipmi/CmpiStatus.h"
#include "transport/Channel.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace Ipmi
{

namespace
{

/// The texts of one pipe end's failures.
struct EndTexts {
    const char* get;
    const char* set;
};

constexpr EndTexts kReadTexts{
    "UnnamedPipe::UnnamedPipe: fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[FD_READ], F_GETFL, 0) failed",
    "UnnamedPipe::UnnamedPipe: fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[FD_READ], F_SETFL, fdflags) failed"};
constexpr EndTexts kWriteTexts{
    "UnnamedPipe::UnnamedPipe: fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[FD_WRITE], F_GETFL, 0) failed",
    "UnnamedPipe::UnnamedPipe: fcntl(g_IpmiNode[NodeNum].signalCmdPipeFds[FD_WRITE], F_SETFL, fdflags) failed"};

void setBlocking(int fd, bool blocking, const EndTexts& texts)
{
    const int flags = fcntl(fd, F_GETFL, 0);
    if (flags == -1)
        throw CmpiStatus(CMPI_RC_ERROR_SYSTEM, texts.get);
    if (fcntl(fd, F_SETFL, blocking ? flags & ~O_NONBLOCK : flags | O_NONBLOCK) == -1)
        throw CmpiStatus(CMPI_RC_ERROR_SYSTEM, texts.set);
}

int endOf(int node, int which)
{
    const Channel& channel = channelOf(node);
    return channel.pipeIsOpen ? channel.signalCmdPipeFds[which].load() : -1;
}

} // namespace

void openSignalPipe(int node)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        throw CmpiStatus(CMPI_RC_ERROR_SYSTEM, "UnnamedPipe::UnnamedPipe: pipe failed");
    Channel& channel = channelOf(node);
    channel.signalCmdPipeFds[FD_READ] = ends[FD_READ];
    channel.signalCmdPipeFds[FD_WRITE] = ends[FD_WRITE];
    channel.pipeIsOpen = true;
    try {
        setBlocking(ends[FD_READ], true, kReadTexts);
        setBlocking(ends[FD_WRITE], false, kWriteTexts);
    } catch (...) {
        closeSignalPipe(node);
        throw;
    }
}

void signalPipe(int node, const char* function)
{
    const std::uint8_t byte = 0xff;
    const int fd = endOf(node, FD_WRITE);
    if (write(fd, &byte, 1) != 1)
        TRX::log(LOG_ERR, "%s: ignoring, write(fd=%d 1 byte) failed errno=%d %m", function, fd, errno);
}

int signalEnd(int node)
{
    return endOf(node, FD_READ);
}

void pause(int node, std::chrono::milliseconds duration)
{
    if (!channelOf(node).shutdown)
        TRX::Clock::get().sleep(duration, signalEnd(node));
}

void backOff(int node)
{
    pause(node, std::chrono::seconds(std::rand() & 3));
}

void closeSignalPipe(int node)
{
    Channel& channel = channelOf(node);
    const bool ours = channel.pipeIsOpen.exchange(false);
    for (auto& end : channel.signalCmdPipeFds) {
        const int fd = end.exchange(-1);
        if (ours && fd != -1)
            close(fd);
    }
}

} // namespace Ipmi
