// SPDX-License-Identifier: Apache-2.0
// Sockets that wait for users: local ones, and a TCP port of this host.
#include "sim/loop/Listener.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

namespace Sim
{

namespace
{

[[noreturn]] void fail(const std::string& where, const char* why)
{
    throw std::runtime_error("cannot listen at " + where + ": " + why);
}

Descriptor newSocket(int domain, int type)
{
    return Descriptor(::socket(domain, type | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
}

template <typename Address> bool listenAt(const Descriptor& socket, const Address& address)
{
    return socket && ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
           ::listen(socket.get(), SOMAXCONN) == 0;
}

} // namespace

Listener::Listener(const std::string& path, int type) : socket_(newSocket(AF_UNIX, type))
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
        fail(path, "the path is too long");
    path.copy(address.sun_path, path.size());
    if (!listenAt(socket_, address))
        fail(path, std::strerror(errno));
    path_ = path;
}

Listener::Listener(std::uint16_t port) : socket_(newSocket(AF_INET, SOCK_STREAM))
{
    const int on = 1;
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (!listenAt(socket_, address))
        fail("127.0.0.1:" + std::to_string(port), std::strerror(errno));
}

Listener::~Listener()
{
    if (!path_.empty())
        ::unlink(path_.c_str());
}

std::uint16_t Listener::port() const
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    ::getsockname(socket_.get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
}

Descriptor Listener::accept(int flags) const
{
    return Descriptor(::accept4(socket_.get(), nullptr, nullptr, flags | SOCK_CLOEXEC));
}

} // namespace Sim
