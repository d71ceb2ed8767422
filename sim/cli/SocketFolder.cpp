// SPDX-License-Identifier: Apache-2.0
// Making, holding and removing the sockets' folders.
#include "sim/cli/SocketFolder.h"

#include "sim/cli/UserMistake.h"
#include "sim/device/RawCall.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace Sim
{

namespace
{

constexpr const char* kName = "/trx-bmcsim";
constexpr const char* kPattern = "/trx-bmcsim-XXXXXX";

/// An environment's folder in which the path of a folder `name` and its sockets fits; null: none.
const char* folderFrom(const char* variable, const char* name)
{
    const char* given = std::getenv(variable);
    const bool fits =
        given && *given == '/' &&
        std::strlen(given) + std::strlen(name) + std::strlen(kControlSocket) < sizeof(sockaddr_un::sun_path);
    return fits ? given : nullptr;
}

/// Also right in a program that the shim has told it is root.
uid_t realUser()
{
    return static_cast<uid_t>(rawCall(SYS_geteuid));
}

} // namespace

TemporaryFolder::TemporaryFolder()
{
    const char* folder = folderFrom("TMPDIR", kPattern);
    path_ = std::string(folder ? folder : "/tmp") + kPattern;
    if (!::mkdtemp(path_.data()))
        throw UserMistake("cannot make a folder " + path_ + ": " + std::strerror(errno));
}

TemporaryFolder::~TemporaryFolder()
{
    ::rmdir(path_.c_str());
}

std::string usualFolder()
{
    const char* own = folderFrom("XDG_RUNTIME_DIR", kName);
    std::string path = own ? std::string(own) + kName : std::string("/tmp") + kName + '-' + std::to_string(realUser());
    struct stat status {
    };
    if (::lstat(path.c_str(), &status) == 0 && status.st_uid != realUser())
        throw UserMistake(path + " is somebody else's; give another --socket");
    return path;
}

ServingFolder::ServingFolder(std::string path) : path_(std::move(path))
{
    if (path_.size() + std::strlen(kControlSocket) >= sizeof(sockaddr_un::sun_path))
        throw UserMistake(path_ + ": too long a path for sockets; give a shorter --socket");
    hold();
    removeSocket(kDeviceSocket);
    removeSocket(kControlSocket);
}

ServingFolder::~ServingFolder()
{
    ::rmdir(path_.c_str());
}

void ServingFolder::hold()
{
    constexpr mode_t kOwner = 0700, kOthersWrite = 0022;
    if (::mkdir(path_.c_str(), kOwner) != 0 && errno != EEXIST)
        throw UserMistake("cannot make a folder " + path_ + ": " + std::strerror(errno));
    held_ = Descriptor(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    struct stat status {
    };
    if (!held_ || ::fstat(held_.get(), &status) != 0)
        throw UserMistake(path_ + ": " + std::strerror(errno));
    if (status.st_uid != realUser() || (status.st_mode & kOthersWrite) != 0)
        throw UserMistake(path_ + ": others can write there; give --socket a folder of your own, with mode 0700");
    if (::flock(held_.get(), LOCK_EX | LOCK_NB) != 0)
        throw UserMistake("a simulator serves in " + path_ + " already; end it, or give another --socket");
}

void ServingFolder::removeSocket(const char* name) const
{
    const std::string socket = path_ + name;
    struct stat status {
    };
    if (::lstat(socket.c_str(), &status) != 0)
        return;
    if (!S_ISSOCK(status.st_mode) || ::unlink(socket.c_str()) != 0)
        throw UserMistake(socket + " is in the way: it is no socket of a simulator that has ended");
}

} // namespace Sim
