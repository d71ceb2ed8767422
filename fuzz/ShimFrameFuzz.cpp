// Datagrams from the driver's side of a device, read by the shim, and by the library behind it.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "sim/shim/Shim.h"
#include "support/Check.h"
#include "support/FakeClock.h"
#include "support/Input.h"

#include <linux/ipmi.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <optional>

using namespace Ipmi;

namespace
{

/// The driver's side: all that it will ever say, and whether it hangs up then.
struct Driver {
    std::optional<TRX::WireReader> input;
    bool hangsUp = false;
    int fd = -1;

    ~Driver()
    {
        if (fd >= 0)
            ::close(fd);
    }

    /// The end of the one connection that there is.
    int connect()
    {
        int ends[2];
        if (!input || ::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
            return -ENOENT;
        hangsUp = hangsUp || input->remaining() == 0; // the shim waits for the first datagram, in real time
        while (input->remaining() != 0) {
            const auto piece = Fuzz::nextPiece(*input);
            ::send(ends[0], piece.data(), piece.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        }
        input.reset();
        if (hangsUp)
            ::close(ends[0]);
        else
            fd = ends[0];
        return ends[1];
    }
};

Driver* current = nullptr;

/// Both ways to receive, past the library: a user's buffer is never overrun.
void receive(int fd, unsigned long request)
{
    constexpr std::uint8_t kUntouched = 0x5a;
    std::uint8_t data[8];
    std::fill(std::begin(data), std::end(data), kUntouched);
    ipmi_addr address{};
    ipmi_recv message{};
    message.addr = reinterpret_cast<unsigned char*>(&address);
    message.addr_len = sizeof address;
    message.msg.data = data;
    message.msg.data_len = sizeof data - 1;
    ::ioctl(fd, request, &message);
    Fuzz::demand(data[sizeof data - 1] == kUntouched, "no byte past the room");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    static Support::FakeClock clock;
    Driver driver{TRX::WireReader({data + 1, size - 1}), data[0] % 2 != 0};
    current = &driver;
    static Sim::Shim::Hooks hooks;
    hooks.connect = [](void*, int) { return current->connect(); };
    Sim::Shim::install(&hooks);
    const int fd = IpmiIfcOpenIpmiOpen(0);
    if (fd > 0 && IpmiIfcInitForCLI(0) == 0) {
        receive(fd, IPMICTL_RECEIVE_MSG);
        receive(fd, IPMICTL_RECEIVE_MSG_TRUNC);
        for (unsigned i = 0; i < 3; ++i) {
            std::uint8_t room[16];
            unsigned short length = sizeof room;
            IpmiIfc::sendCmd(0, 0x01, 0x06, 0, nullptr, &length, room);
            Fuzz::demand(length <= sizeof room, "no more than there is room for");
        }
    }
    IpmiIfcCloseForCLI(0);
    Sim::Shim::install(nullptr);
    return 0;
}
