// SPDX-License-Identifier: Apache-2.0
// Opens and closes a node; sends it single commands.
#include "node/NodeSession.h"

#include "base/Failure.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "ipmi/IpmiRecords.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

namespace Tool
{

namespace
{

constexpr std::uint8_t kAnswerCut = 16;

} // namespace

std::string openFailure(int node, int error)
{
    switch (error) {
    case ENOENT:
    case ENXIO:
    case ENODEV:
        return fmt::format("no BMC driver at /dev/ipmi{}: load it (modprobe -a ipmi_si ipmi_devintf), or try --sim",
                           node);
    case EACCES:
    case EPERM:
        return fmt::format("no access to /dev/ipmi{}: run as root, or try --sim", node);
    default:
        return fmt::format("cannot open /dev/ipmi{}: {}", node, std::strerror(error));
    }
}

void requireDevice(int node)
{
    const std::string path = fmt::format("/dev/ipmi{}", node);
    const int device = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (device < 0)
        throw Failure(openFailure(node, errno));
    ::close(device);
}

NodeSession::NodeSession(int node) : node_(node)
{
    if (Ipmi::IpmiIfcOpenIpmiOpen(node) < 0)
        throw Failure(openFailure(node, errno));
    if (Ipmi::IpmiIfcInitForCLI(node) != 0) {
        Ipmi::IpmiIfcCloseForCLI(node);
        throw Failure(fmt::format("/dev/ipmi{} is there, but does not act like the IPMI driver", node));
    }
}

NodeSession::~NodeSession()
{
    Ipmi::IpmiIfcCloseForCLI(node_);
}

void NodeSession::requireBmc() const
{
    unsigned char id = 0;
    if (Ipmi::IpmiIfc::getDeviceId(node_, id) != 0)
        throw Failure(fmt::format("the BMC behind /dev/ipmi{} does not answer: try again, or reset it", node_));
}

std::optional<Reply> sendTo(int node, Ipmi::wire::Command command, std::span<const std::uint8_t> data)
{
    std::vector<unsigned char> request(data.begin(), data.end());
    std::array<unsigned char, 2 * Ipmi::kAnswerRoom> answer{};
    auto length = static_cast<unsigned short>(answer.size());
    const unsigned char result =
        Ipmi::IpmiIfc::sendCmd(node, command.cmd, command.netfn, static_cast<unsigned short>(request.size()),
                               request.empty() ? nullptr : request.data(), &length, answer.data());
    if (result == Ipmi::wire::kNoAnswer)
        return std::nullopt;
    // 16 is also a completion code that a BMC may send; only a cut answer touches the length.
    const bool cut = result == kAnswerCut && length < answer.size();
    Reply reply{.completionCode = cut ? std::uint8_t{0} : result, .data = {}, .maybeCut = false};
    const std::size_t received = std::min<std::size_t>(length, answer.size());
    if (reply.completionCode == 0 && received > 0) {
        reply.data.assign(answer.begin() + 1, answer.begin() + static_cast<std::ptrdiff_t>(received));
        reply.maybeCut = cut || received >= Ipmi::kAnswerRoom;
    }
    return reply;
}

} // namespace Tool
