// SPDX-License-Identifier: Apache-2.0
// IPMB frames to bytes and back, with their checksums.
#include "sim/bus/IpmbFrame.h"

#include <utility>

namespace Sim
{

namespace
{

namespace IpmbLayout
{
constexpr std::size_t kTo = 0, kNetfn = 1, kHeaderSum = 2, kFrom = 3, kSequence = 4, kCmd = 5, kData = 6;
constexpr std::size_t kShortest = kData + 1; // the checksum of the second part ends it
} // namespace IpmbLayout

std::uint8_t withLun(std::uint8_t high, std::uint8_t lun)
{
    return static_cast<std::uint8_t>(high << 2 | (lun & 3));
}

} // namespace

Bytes IpmbFrame::bytes() const
{
    Bytes all{to, withLun(netfn, toLun)};
    all.push_back(checksum(all));
    all.insert(all.end(), {from, withLun(sequence, fromLun), cmd});
    all.insert(all.end(), data.begin(), data.end());
    all.push_back(checksum(std::span(all).subspan(IpmbLayout::kFrom)));
    return all;
}

IpmbFrame IpmbFrame::response(Bytes answer) const
{
    IpmbFrame frame = *this;
    std::swap(frame.to, frame.from);
    std::swap(frame.toLun, frame.fromLun);
    frame.netfn = netfn | 1;
    frame.data = std::move(answer);
    return frame;
}

std::optional<IpmbFrame> readIpmbFrame(std::span<const std::uint8_t> bytes)
{
    using namespace IpmbLayout;
    if (bytes.size() < kShortest)
        return std::nullopt;
    const auto lunOf = [&](std::size_t at) { return static_cast<std::uint8_t>(bytes[at] & 3); };
    const auto highOf = [&](std::size_t at) { return static_cast<std::uint8_t>(bytes[at] >> 2); };
    IpmbFrame frame{.to = bytes[kTo],
                    .toLun = lunOf(kNetfn),
                    .from = bytes[kFrom],
                    .fromLun = lunOf(kSequence),
                    .netfn = highOf(kNetfn),
                    .sequence = highOf(kSequence),
                    .cmd = bytes[kCmd],
                    .data{bytes.begin() + kData, bytes.end() - 1}};
    frame.intact = checksum(bytes.first(kHeaderSum + 1)) == 0 && checksum(bytes.subspan(kFrom)) == 0;
    return frame;
}

} // namespace Sim
