// What the simulator's tests share.
#pragma once

#include "sim/Bmc.h"

#include <cstdlib>
#include <sstream>
#include <string>
#include <unistd.h>

namespace Sim
{

inline Answer exchange(Bmc& bmc, std::uint8_t netfn, std::uint8_t cmd, const Bytes& data = {}, std::uint8_t lun = 0,
                       std::uint8_t address = kBmcAddress)
{
    return bmc.handle({.channel = static_cast<std::uint8_t>(address == kBmcAddress ? 0x0f : 0),
                       .address = address,
                       .lun = lun,
                       .netfn = netfn,
                       .cmd = cmd,
                       .data = data});
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

/// "06 01" as bytes.
inline Bytes hex(const std::string& text)
{
    Bytes bytes;
    std::istringstream words(text);
    for (unsigned byte = 0; words >> std::hex >> byte;)
        bytes.push_back(static_cast<std::uint8_t>(byte));
    return bytes;
}

/// `request`: network function, command, data bytes, in hexadecimal.
inline Bytes ask(Bmc& bmc, const std::string& request, std::uint8_t lun = 0, std::uint8_t address = kBmcAddress)
{
    const Bytes bytes = hex(request);
    return ask(bmc, bytes.at(0), bytes.at(1), {bytes.begin() + 2, bytes.end()}, lun, address);
}

/// What is wrong with what `read` reads; or "taken".
template <class Read> std::string complaint(Read read)
{
    try {
        read();
        return "taken";
    } catch (const BadFile& error) {
        return error.what();
    }
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
