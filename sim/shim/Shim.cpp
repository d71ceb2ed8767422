// SPDX-License-Identifier: Apache-2.0
// The functions of libc that the shim replaces. Everything that is not a simulated device goes to the kernel by raw
// system calls, so there is no order of start-up and no dlsym recursion; nothing here needs constructors.
// <fcntl.h> stays out: it may declare `open` under another name.
#include "sim/shim/Shim.h"

#include "sim/device/RawCall.h"
#include "sim/shim/Driver.h"
#include "sim/shim/Slots.h"

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <linux/fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <unistd.h>

#define TRX_SHIM_EXPORT extern "C" __attribute__((visibility("default")))

namespace Sim::Shim
{

namespace
{

constexpr int kNoDevice = -1;
constexpr int kLastNode = 255;
constexpr long kHelloSeconds = 10;

Shared<const Hooks*> installedHooks;
Shared<unsigned long> servedCalls;

int fail(int error)
{
    errno = error;
    return -1;
}

const char* folder()
{
    return std::getenv("TRX_BMCSIM_DIR");
}

bool active()
{
    return installedHooks.get() || folder();
}

/// The device's number in one of its usual paths; kNoDevice: another file, or nothing is simulated.
int nodeOf(const char* path)
{
    static constexpr const char* kPrefixes[] = {"/dev/ipmi/", "/dev/ipmidev/", "/dev/ipmi"};
    if (!path || !active())
        return kNoDevice;
    for (const char* prefix : kPrefixes) {
        const std::size_t length = std::strlen(prefix);
        if (std::strncmp(path, prefix, length) != 0)
            continue;
        int node = 0;
        const char* digit = path + length;
        for (; *digit >= '0' && *digit <= '9' && node <= kLastNode; ++digit)
            node = 10 * node + (*digit - '0');
        const bool canonical = digit != path + length && (path[length] != '0' || digit == path + length + 1);
        if (canonical && *digit == '\0' && node <= kLastNode)
            return node;
    }
    return kNoDevice;
}

/// The address of a device's socket; false: the folder's name is too long.
bool socketAddress(int node, sockaddr_un& address)
{
    address = {};
    address.sun_family = AF_UNIX;
    char name[] = "/ipmi000";
    const int digits = node > 99 ? 3 : node > 9 ? 2 : 1;
    const std::size_t base = 5;
    for (int i = digits - 1; i >= 0; --i, node /= 10)
        name[base + static_cast<std::size_t>(i)] = static_cast<char>('0' + node % 10);
    name[base + static_cast<std::size_t>(digits)] = '\0';
    const char* directory = folder();
    if (!directory || std::strlen(directory) + sizeof name > sizeof address.sun_path)
        return false;
    std::strcpy(address.sun_path, directory);
    std::strcat(address.sun_path, name);
    return true;
}

int connectToSocket(int node)
{
    sockaddr_un address;
    if (!socketAddress(node, address))
        return -ENOENT;
    const long fd = rawCall(SYS_socket, AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (fd < 0)
        return -errno;
    if (rawCall(SYS_connect, fd, &address, sizeof address) == 0)
        return static_cast<int>(fd);
    rawCall(SYS_close, fd);
    return -ENOENT; // nobody simulates this device
}

/// Takes a hello and the descriptor that comes with it; -1: none does.
long takeHello(int fd, Frame::Header& hello, int& status)
{
    iovec content{&hello, sizeof hello};
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof status)];
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = room;
    message.msg_controllen = CMSG_LEN(sizeof status); // one descriptor, no more
    const long length = rawCall(SYS_recvmsg, fd, &message, MSG_DONTWAIT | MSG_CMSG_CLOEXEC);
    const cmsghdr* passed = length < 0 ? nullptr : CMSG_FIRSTHDR(&message);
    if (passed && passed->cmsg_level == SOL_SOCKET && passed->cmsg_type == SCM_RIGHTS)
        std::memcpy(&status, CMSG_DATA(passed), sizeof status);
    return length;
}

/// What the driver says to a new user: 0 or an errno.
int readHello(int fd, Frame::Header& hello, int& status)
{
    pollfd waiting{fd, POLLIN, 0};
    timespec timeout{kHelloSeconds, 0};
    long ready = 0;
    do
        ready = rawCall(SYS_ppoll, &waiting, 1, &timeout, 0, 0);
    while (ready < 0 && errno == EINTR);
    const long length = ready == 1 ? takeHello(fd, hello, status) : 0;
    if (length != sizeof hello || hello.kind != Frame::kHello)
        return ENXIO;
    return hello.error;
}

int injected(int node, unsigned int request)
{
    servedCalls.add(1);
    const Hooks* hooks = installedHooks.get();
    return hooks && hooks->fail ? hooks->fail(hooks->context, node, request) : 0;
}

void applyFlags(int fd, int flags)
{
    if ((flags & O_CLOEXEC) == 0)
        rawCall(SYS_fcntl, fd, F_SETFD, 0);
    if ((flags & O_NONBLOCK) != 0)
        rawCall(SYS_fcntl, fd, F_SETFL, O_NONBLOCK);
}

int openDevice(int node, int flags)
{
    if (const int error = injected(node, 0))
        return fail(error);
    const Hooks* hooks = installedHooks.get();
    const int fd = hooks ? hooks->connect(hooks->context, node) : connectToSocket(node);
    if (fd < 0)
        return fail(-fd);
    Frame::Header hello{};
    int status = -1;
    int error = readHello(fd, hello, status);
    Slot* slot = error == 0 ? claimSlot(fd, node, status) : nullptr;
    if (status >= 0)
        rawCall(SYS_close, status);
    if (!slot) {
        error = error == 0 ? EMFILE : error;
        rawCall(SYS_close, fd);
        return fail(error);
    }
    slot->ipmbChannels.set(hello.value);
    applyFlags(fd, flags);
    return fd;
}

int deviceRequest(Slot& slot, int fd, unsigned int request, void* argument)
{
    const int savedErrno = errno;
    int error = injected(slot.node.get(), request);
    if (error == 0)
        error = handleRequest(slot, fd, request, argument);
    const Hooks* hooks = installedHooks.get();
    if (error == 0 && sends(request) && hooks && hooks->sent)
        hooks->sent(hooks->context, slot.node.get());
    errno = savedErrno;
    return error == 0 ? 0 : fail(error);
}

bool needsMode(int flags)
{
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE;
}

int openAt(int directory, const char* path, int flags, unsigned int mode)
{
    const int node = nodeOf(path);
    if (node != kNoDevice)
        return openDevice(node, flags);
    return static_cast<int>(rawCall(SYS_openat, directory, path, flags, mode));
}

int passIoctl(int fd, unsigned long request, void* argument)
{
    return static_cast<int>(rawCall(SYS_ioctl, fd, request, argument));
}

/// Requests that the kernel itself answers for every file.
bool isOfEveryFile(unsigned long request)
{
    return request == FIOCLEX || request == FIONCLEX || request == FIONBIO || request == FIOASYNC;
}

/// Root where a device is simulated, and what hooks say; `call` tells of the real user.
uid_t userId(long call)
{
    constexpr uid_t kNobody = 65534;
    if (const Hooks* hooks = installedHooks.get())
        return hooks->root ? 0 : kNobody;
    return folder() ? 0 : static_cast<uid_t>(rawCall(call));
}

/// As access(2) on the device's file: there, readable and writable, when its number is simulated.
int accessDevice(int node, int mode)
{
    const Hooks* hooks = installedHooks.get();
    const int fd = hooks ? hooks->connect(hooks->context, node) : connectToSocket(node);
    if (fd < 0)
        return fail(-fd);
    rawCall(SYS_close, fd);
    return (mode & X_OK) != 0 ? fail(EACCES) : 0;
}

} // namespace

void install(const Hooks* hooks)
{
    installedHooks.set(hooks);
}

unsigned long served()
{
    return servedCalls.get();
}

} // namespace Sim::Shim

using namespace Sim::Shim;
using Sim::rawCall;

#define TRX_SHIM_MODE(last, flags)                                                                                     \
    unsigned int mode = 0;                                                                                             \
    if (needsMode(flags)) {                                                                                            \
        va_list arguments;                                                                                             \
        va_start(arguments, last);                                                                                     \
        mode = va_arg(arguments, unsigned int);                                                                        \
        va_end(arguments);                                                                                             \
    }

TRX_SHIM_EXPORT int open(const char* path, int flags, ...)
{
    TRX_SHIM_MODE(flags, flags)
    return openAt(AT_FDCWD, path, flags, mode);
}

TRX_SHIM_EXPORT int open64(const char* path, int flags, ...)
{
    TRX_SHIM_MODE(flags, flags)
    return openAt(AT_FDCWD, path, flags | O_LARGEFILE, mode);
}

TRX_SHIM_EXPORT int openat(int directory, const char* path, int flags, ...)
{
    TRX_SHIM_MODE(flags, flags)
    return openAt(directory, path, flags, mode);
}

TRX_SHIM_EXPORT int openat64(int directory, const char* path, int flags, ...)
{
    TRX_SHIM_MODE(flags, flags)
    return openAt(directory, path, flags | O_LARGEFILE, mode);
}

TRX_SHIM_EXPORT int __open_2(const char* path, int flags)
{
    return openAt(AT_FDCWD, path, flags, 0);
}

TRX_SHIM_EXPORT int __open64_2(const char* path, int flags)
{
    return openAt(AT_FDCWD, path, flags | O_LARGEFILE, 0);
}

TRX_SHIM_EXPORT int ioctl(int fd, unsigned long request, ...) noexcept
{
    va_list arguments;
    va_start(arguments, request);
    void* argument = va_arg(arguments, void*);
    va_end(arguments);
    Slot* slot = isOfEveryFile(request) ? nullptr : findSlot(fd);
    return slot ? deviceRequest(*slot, fd, static_cast<unsigned int>(request), argument)
                : passIoctl(fd, request, argument);
}

TRX_SHIM_EXPORT int close(int fd)
{
    forgetSlot(fd);
    return static_cast<int>(rawCall(SYS_close, fd));
}

TRX_SHIM_EXPORT int access(const char* path, int mode) noexcept
{
    const int node = nodeOf(path);
    if (node != kNoDevice)
        return accessDevice(node, mode);
    return static_cast<int>(rawCall(SYS_faccessat, AT_FDCWD, path, mode));
}

TRX_SHIM_EXPORT uid_t geteuid() noexcept
{
    return userId(SYS_geteuid);
}

TRX_SHIM_EXPORT uid_t getuid() noexcept
{
    return userId(SYS_getuid);
}
