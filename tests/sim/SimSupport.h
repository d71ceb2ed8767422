// What the simulator's tests share.
#pragma once

#include "sim/Bmc.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace Sim
{

inline Answer exchange(Bmc& bmc, std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}, std::uint8_t lun = 0,
                       std::uint8_t address = kBmcAddress)
{
    return bmc.handle({.address = address, .lun = lun, .netfn = netfn, .cmd = cmd, .data = data});
}

inline Bytes ask(Bmc& bmc, std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}, std::uint8_t lun = 0,
                 std::uint8_t address = kBmcAddress)
{
    return exchange(bmc, netfn, cmd, data, lun, address).bytes;
}

inline std::uint16_t word(const Bytes& bytes, std::size_t at)
{
    return static_cast<std::uint16_t>(bytes.at(at) | bytes.at(at + 1) << 8);
}

/// The folder of the captures, or nothing when it is not there.
inline std::string captures()
{
    const char* folder = std::getenv("TRX_CAPTURES");
    return folder == nullptr ? std::string() : std::string(folder);
}

/// A file that is gone with the test.
class ScratchFile
{
public:
    explicit ScratchFile(std::string_view content) : path_("/tmp/trx-sim-XXXXXX")
    {
        const int fd = ::mkstemp(path_.data());
        if (fd < 0 || ::write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size()))
            std::abort();
        ::close(fd);
    }
    ~ScratchFile() { ::unlink(path_.c_str()); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;
    const std::string& path() const { return path_; }

private:
    std::string path_;
};

} // namespace Sim
