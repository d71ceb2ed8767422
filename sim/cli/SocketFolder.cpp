#include "sim/cli/SocketFolder.h"

#include "sim/cli/Failure.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace Sim
{

namespace
{

constexpr const char* kSocketName = "/ipmi0";
constexpr const char* kPattern = "/trx-bmcsim-XXXXXX";

/// $TMPDIR where a socket's path fits into it, else /tmp.
std::string temporaryFolder()
{
    const char* given = std::getenv("TMPDIR");
    const bool fits =
        given && *given == '/' &&
        std::strlen(given) + std::strlen(kPattern) + std::strlen(kSocketName) < sizeof(sockaddr_un::sun_path);
    return fits ? given : "/tmp";
}

} // namespace

SocketFolder::SocketFolder() : path_(temporaryFolder() + kPattern)
{
    if (!::mkdtemp(path_.data()))
        throw Failure("cannot make a folder " + path_ + ": " + std::strerror(errno));
    try {
        listenAt(path_ + kSocketName);
    } catch (...) {
        remove();
        throw;
    }
}

SocketFolder::~SocketFolder()
{
    remove();
}

void SocketFolder::listenAt(const std::string& socketPath)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    socketPath.copy(address.sun_path, sizeof address.sun_path - 1);
    listener_ = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listener_ < 0 || ::bind(listener_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener_, SOMAXCONN) != 0)
        throw Failure("cannot listen at " + socketPath + ": " + std::strerror(errno));
}

void SocketFolder::remove()
{
    if (listener_ >= 0)
        ::close(listener_);
    ::unlink((path_ + kSocketName).c_str());
    ::rmdir(path_.c_str());
}

} // namespace Sim
