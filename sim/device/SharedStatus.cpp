// SPDX-License-Identifier: Apache-2.0
// The page of memory that shows users whether the driver is busy.
#include "sim/device/SharedStatus.h"

#include "sim/device/RawCall.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>

#include <cerrno>
#include <cstring>
#include <system_error>

namespace Sim
{

SharedStatus::SharedStatus() : fd_(::memfd_create("trx-bmcsim", MFD_CLOEXEC | MFD_ALLOW_SEALING))
{
    void* page = MAP_FAILED;
    // Users rely on a page that stays as long as it is.
    if (fd_ >= 0 && ::ftruncate(fd_, sizeof(Frame::Status)) == 0 && ::fcntl(fd_, F_ADD_SEALS, F_SEAL_SHRINK) == 0)
        page = ::mmap(nullptr, sizeof(Frame::Status), PROT_READ | PROT_WRITE, MAP_SHARED, fd_, 0);
    if (page == MAP_FAILED) {
        const std::system_error error(errno, std::generic_category(), "cannot share memory with the users of a device");
        if (fd_ >= 0)
            rawCall(SYS_close, fd_);
        throw error;
    }
    page_ = static_cast<Frame::Status*>(page);
}

SharedStatus::~SharedStatus()
{
    ::munmap(page_, sizeof(Frame::Status));
    rawCall(SYS_close, fd_);
}

void SharedStatus::greet(int user, Frame::Header hello) const
{
    hello.kind = Frame::kHello;
    iovec content{&hello, sizeof hello};
    alignas(cmsghdr) char room[CMSG_SPACE(sizeof fd_)] = {};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = room;
    message.msg_controllen = CMSG_LEN(sizeof fd_);
    cmsghdr* passed = CMSG_FIRSTHDR(&message);
    passed->cmsg_level = SOL_SOCKET;
    passed->cmsg_type = SCM_RIGHTS;
    passed->cmsg_len = CMSG_LEN(sizeof fd_);
    std::memcpy(CMSG_DATA(passed), &fd_, sizeof fd_);
    rawCall(SYS_sendmsg, user, &message, MSG_DONTWAIT | MSG_NOSIGNAL);
}

} // namespace Sim
