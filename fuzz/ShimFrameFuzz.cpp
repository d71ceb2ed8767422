// SPDX-License-Identifier: Apache-2.0
// Datagrams from the driver's side of a device, read by the shim, and by the library behind it.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/device/SharedStatus.h"
#include "sim/shim/Shim.h"
#include "support/FakeClock.h"
#include "support/Fuzz.h"

#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <utility>
#include <vector>

using namespace Ipmi;

namespace
{

int offered = -1; ///< the program's end of the one connection that there is

/// The driver's side says all that it will ever say, and may hang up. @return its end
int drive(Ipmi::wire::Reader input)
{
    int ends[2];
    Fuzz::demand(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) == 0, "a socket pair");
    offered = ends[1];
    const unsigned how = input.u8();
    const bool hangsUp = how % 2 != 0 || input.remaining() == 0; // the shim waits for the first datagram, in real time
    if (how / 2 % 2 != 0)
        Sim::SharedStatus().greet(ends[0], {.value = 1}); // else the first datagram is to be the hello
    while (input.remaining() != 0) {
        const auto piece = Fuzz::nextPiece(input);
        ::send(ends[0], piece.data(), piece.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    }
    if (hangsUp)
        ::shutdown(ends[0], SHUT_RDWR);
    return ends[0];
}

/// Both ways to receive, past the library: a user's buffer is never overrun.
void receive(int fd, unsigned long request)
{
    std::vector<std::uint8_t> data(7); // whose end the sanitizer knows
    std::vector<std::uint8_t> address(sizeof(ipmi_addr));
    ipmi_recv message{0, address.data(), sizeof(ipmi_addr), 0, {0, 0, 7, data.data()}};
    ::ioctl(fd, request, &message);
}

} // namespace

void Fuzz::use(Span input)
{
    static Support::FakeClock clock;
    static Sim::Shim::Hooks hooks;
    const int end = drive(Ipmi::wire::Reader(input));
    hooks.connect = [](void*, int) { return std::exchange(offered, -ENOENT); };
    Sim::Shim::install(&hooks);
    const int fd = IpmiIfcOpenIpmiOpen(0);
    if (fd > 0 && IpmiIfcInitForCLI(0) == 0) {
        receive(fd, IPMICTL_RECEIVE_MSG);
        receive(fd, IPMICTL_RECEIVE_MSG_TRUNC);
        for (unsigned i = 0; i < 3; ++i) {
            std::uint8_t room[16];
            unsigned short length = sizeof room;
            IpmiIfc::sendCmd(0, 0x01, 0x06, 0, nullptr, &length, room);
            demand(length <= sizeof room, "no more than there is room for");
        }
    }
    IpmiIfcCloseForCLI(0);
    Sim::Shim::install(nullptr);
    ::close(end);
    if (offered >= 0)
        ::close(offered); // nobody came
}
