// SPDX-License-Identifier: Apache-2.0
// Writes under another name, and renames when all is there.
#include "files/OutputFile.h"

#include "base/Failure.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Tool
{

namespace
{

[[noreturn]] void cannotWrite(const std::string& path, int error)
{
    throw Failure("cannot write " + path + ": " + std::strerror(error));
}

std::string directoryOf(const std::string& path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
}

/// @return 0 or errno
int writeAll(int fd, std::span<const std::uint8_t> content)
{
    while (!content.empty()) {
        const ssize_t written = ::write(fd, content.data(), content.size());
        if (written < 0 && errno != EINTR)
            return errno;
        if (written > 0)
            content = content.subspan(static_cast<std::size_t>(written));
    }
    return 0;
}

} // namespace

OutputFile::OutputFile(std::string path) : path_(std::move(path)), shownPath_(path_)
{
    struct stat status = {};
    const bool exists = ::stat(path_.c_str(), &status) == 0;
    if (!exists && errno != ENOENT)
        cannotWrite(shownPath_, errno);
    if (exists && S_ISDIR(status.st_mode))
        cannotWrite(shownPath_, EISDIR);
    regular_ = !exists || S_ISREG(status.st_mode);
    char real[PATH_MAX];
    if (exists && regular_ && ::realpath(path_.c_str(), real))
        path_ = real;
    if (path_.empty() || path_.back() == '/')
        cannotWrite(shownPath_, path_.empty() ? ENOENT : EISDIR);
    if (exists && ::access(path_.c_str(), W_OK) != 0)
        cannotWrite(shownPath_, errno);
    if (regular_ && ::access(directoryOf(path_).c_str(), W_OK | X_OK) != 0)
        cannotWrite(shownPath_, errno);
}

void OutputFile::write(std::span<const std::uint8_t> content) const
{
    if (regular_)
        return replace(content);
    const int fd = ::open(path_.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0)
        cannotWrite(shownPath_, errno);
    const int error = writeAll(fd, content);
    ::close(fd);
    if (error != 0)
        cannotWrite(shownPath_, error);
}

void OutputFile::replace(std::span<const std::uint8_t> content) const
{
    std::string temporary = path_ + ".XXXXXX";
    const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
    if (fd < 0)
        cannotWrite(shownPath_, errno);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    int error = writeAll(fd, content);
    if (error == 0 && (::fchmod(fd, 0666 & ~mask) != 0 || ::fsync(fd) != 0))
        error = errno;
    ::close(fd);
    if (error == 0 && std::rename(temporary.c_str(), path_.c_str()) != 0)
        error = errno;
    if (error != 0) {
        ::unlink(temporary.c_str());
        cannotWrite(shownPath_, error);
    }
}

} // namespace Tool
