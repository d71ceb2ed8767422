// SPDX-License-Identifier: Apache-2.0
// Datagrams from the users of a simulated device, read by the driver's side and answered by the sample machine.
#include "sim/bmc/Bmc.h"
#include "sim/device/Device.h"
#include "sim/machine/MachineFile.h"
#include "support/Fuzz.h"

#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>

namespace
{

using Milliseconds = std::chrono::milliseconds;

/// What the driver's side says is a hello or a message, and no longer than its frame.
void drain(int fd)
{
    Sim::Frame::Datagram frame;
    ssize_t length = 0;
    while ((length = ::recv(fd, &frame, sizeof frame, MSG_DONTWAIT | MSG_TRUNC)) > 0) {
        const auto size = static_cast<std::size_t>(length);
        Fuzz::demand(size >= sizeof frame.header && size <= sizeof frame, "a whole frame");
        Fuzz::demand(frame.header.kind == Sim::Frame::kHello || frame.header.kind == Sim::Frame::kMessage, "a message");
    }
    ::close(fd);
}

} // namespace

void Fuzz::use(Span bytes)
{
    static const Sim::Machine machine = Sim::loadMachine("sample");
    Sim::Bmc bmc(machine);
    Milliseconds now{1};
    Sim::Device device(bmc, [&now] { return now; });
    std::array<int, 2> users{};
    for (int& user : users) {
        int ends[2];
        demand(::socketpair(AF_UNIX, SOCK_SEQPACKET, 0, ends) == 0, "a socket pair");
        device.adopt(ends[0]);
        user = ends[1];
    }
    for (Ipmi::wire::Reader input(bytes); input.remaining() != 0; device.pump()) {
        const unsigned step = input.u8(); // whose datagram it is, and how long after the one before
        const auto piece = nextPiece(input);
        ::send(users[step % users.size()], piece.data(), piece.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        now += Milliseconds(step * 10);
    }
    for (unsigned left = 1000; left != 0 && device.nextDue(); --left) {
        now = std::max(now, *device.nextDue());
        device.pump();
    }
    for (const int user : users)
        drain(user);
}
