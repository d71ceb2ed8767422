// SPDX-License-Identifier: Apache-2.0
// Send, poll, receive, with nothing around them.
#include "BareExchange.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <linux/ipmi.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Bench
{

BareExchange::BareExchange() : fd_(::open("/dev/ipmi0", O_RDWR | O_CLOEXEC))
{
    if (fd_ < 0) {
        std::perror("trx-bench: /dev/ipmi0");
        std::exit(1);
    }
}

BareExchange::~BareExchange()
{
    ::close(fd_);
}

bool BareExchange::getDeviceId()
{
    ipmi_system_interface_addr bmc{};
    bmc.addr_type = IPMI_SYSTEM_INTERFACE_ADDR_TYPE;
    bmc.channel = IPMI_BMC_CHANNEL;
    ipmi_req request{};
    request.addr = reinterpret_cast<unsigned char*>(&bmc);
    request.addr_len = sizeof bmc;
    request.msgid = id_++;
    request.msg.netfn = 0x06;
    request.msg.cmd = 0x01;
    if (::ioctl(fd_, IPMICTL_SEND_COMMAND, &request) < 0)
        return false;

    pollfd waiting{fd_, POLLIN, 0};
    if (::poll(&waiting, 1, 30000) != 1)
        return false;

    ipmi_addr from{};
    unsigned char answer[32];
    ipmi_recv received{};
    received.addr = reinterpret_cast<unsigned char*>(&from);
    received.addr_len = sizeof from;
    received.msg.data = answer;
    received.msg.data_len = sizeof answer;
    return ::ioctl(fd_, IPMICTL_RECEIVE_MSG_TRUNC, &received) == 0 && answer[0] == 0;
}

} // namespace Bench
