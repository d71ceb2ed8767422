// SPDX-License-Identifier: Apache-2.0
// The table of open devices, and the page that each one maps.
#include "sim/shim/Slots.h"

#include "sim/device/RawCall.h"

#include <cerrno>
#include <linux/fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Sim::Shim
{

namespace
{

constexpr std::uint64_t kClaimed = ~std::uint64_t{0};
constexpr std::uint8_t kOwnAddress = 0x20, kOwnLun = 2;

Slot slots[kSlots];
Shared<int> inUse;

std::uint64_t cookieOf(int fd)
{
    const int savedErrno = errno;
    std::uint64_t cookie = 0;
    socklen_t size = sizeof cookie;
    if (rawCall(SYS_getsockopt, fd, SOL_SOCKET, SO_COOKIE, &cookie, &size) != 0)
        cookie = 0;
    errno = savedErrno;
    return cookie;
}

void release(Slot& slot, std::uint64_t cookie)
{
    if (slot.cookie.change(cookie, 0))
        inUse.add(-1);
}

void reset(Slot& slot, int fd, int node)
{
    slot.fd.set(fd);
    slot.node.set(node);
    slot.receiving.set(0);
    slot.outstanding.set(0);
    slot.retries.set(-1);
    slot.retryTime.set(0);
    slot.maintenance.set(0);
    for (auto& address : slot.address)
        address.set(kOwnAddress);
    for (auto& lun : slot.lun)
        lun.set(kOwnLun);
    for (auto& registration : slot.registrations)
        registration.set(0);
}

/// Looking at a file that is shorter, or gets so, would be the end of the program.
bool isStatus(int file)
{
    return rawCall(SYS_lseek, file, 0, SEEK_END) >= static_cast<long>(sizeof(Frame::Status)) &&
           (rawCall(SYS_fcntl, file, F_GET_SEALS) & F_SEAL_SHRINK) != 0;
}

/// A slot keeps its page's address for good, so that a thread that still uses a descriptor while another closes it, and
/// the next is opened, finds memory there.
bool mapStatus(Slot& slot, int file)
{
    const Frame::Status* before = slot.status.get();
    const int flags = MAP_SHARED | (before ? MAP_FIXED : 0);
    const long page = isStatus(file) ? rawCall(SYS_mmap, before, sizeof(Frame::Status), PROT_READ, flags, file, 0) : -1;
    if (page == -1)
        return false;
    slot.status.set(reinterpret_cast<const Frame::Status*>(page));
    return true;
}

} // namespace

Slot* claimSlot(int fd, int node, int status)
{
    forgetSlot(fd); // closed behind our back
    const std::uint64_t cookie = cookieOf(fd);
    for (Slot& slot : slots) {
        if (cookie == 0 || !slot.cookie.change(0, kClaimed))
            continue;
        inUse.add(1);
        reset(slot, fd, node);
        const bool mapped = mapStatus(slot, status);
        slot.cookie.set(cookie);
        if (!mapped)
            release(slot, cookie);
        return mapped ? &slot : nullptr;
    }
    return nullptr;
}

Slot* findSlot(int fd)
{
    const std::uint64_t cookie = inUse.get() > 0 ? cookieOf(fd) : 0;
    if (cookie != 0)
        for (Slot& slot : slots)
            if (slot.cookie.get() == cookie)
                return &slot;
    return nullptr;
}

void forgetSlot(int fd)
{
    if (inUse.get() <= 0)
        return;
    for (Slot& slot : slots) {
        const std::uint64_t cookie = slot.cookie.get();
        if (cookie != 0 && cookie != kClaimed && slot.fd.get() == fd)
            release(slot, cookie);
    }
}

Slot& slotAt(int index)
{
    return slots[index];
}

} // namespace Sim::Shim
