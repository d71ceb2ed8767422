// SPDX-License-Identifier: Apache-2.0
// Reading a regular file whole, within a limit.
#include "sim/machine/InputFile.h"

#include "sim/loop/Descriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>

namespace Sim
{

namespace
{

[[noreturn]] void failWithErrno(const std::string& path)
{
    const int error = errno;
    throw BadFile(path + ": " + std::strerror(error));
}

} // namespace

Bytes readFile(const std::string& path, std::size_t limit)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (file.get() < 0)
        failWithErrno(path);
    struct stat status {
    };
    if (::fstat(file.get(), &status) != 0)
        failWithErrno(path);
    if (!S_ISREG(status.st_mode))
        throw BadFile(path + ": not a regular file");
    Bytes bytes;
    std::array<std::uint8_t, 65536> block;
    for (;;) {
        const ssize_t got = ::read(file.get(), block.data(), block.size());
        if (got < 0)
            failWithErrno(path);
        if (got == 0)
            return bytes;
        bytes.insert(bytes.end(), block.begin(), block.begin() + got);
        if (bytes.size() > limit)
            throw BadFile(path + ": larger than " + std::to_string(limit) + " bytes");
    }
}

} // namespace Sim
