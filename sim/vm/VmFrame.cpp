// SPDX-License-Identifier: Apache-2.0
// Escaping, checksums and limits of the VM serial protocol.
#include "sim/vm/VmFrame.h"

#include <utility>

namespace Sim
{

namespace
{

constexpr std::uint8_t kMessageEnd = 0xa0, kCommandEnd = 0xa1, kEscape = 0xaa, kEscapeBit = 0x10;
// A request's bytes; the checksum is off already.
namespace VmLayout
{
constexpr std::size_t kSequence = 0, kNetfnLun = 1, kCmd = 2, kData = 3;
}

std::vector<std::uint8_t> encode(std::span<const std::uint8_t> bytes, std::uint8_t end)
{
    std::vector<std::uint8_t> escaped;
    for (const std::uint8_t byte : bytes) {
        const bool special = byte == kMessageEnd || byte == kCommandEnd || byte == kEscape;
        if (special)
            escaped.push_back(kEscape);
        escaped.push_back(static_cast<std::uint8_t>(special ? byte | kEscapeBit : byte));
    }
    escaped.push_back(end);
    return escaped;
}

} // namespace

std::optional<VmFrame> VmDecoder::take(std::uint8_t byte)
{
    if (byte == kMessageEnd || byte == kCommandEnd)
        return end(byte == kMessageEnd ? VmFrame::Kind::message : VmFrame::Kind::command);
    if (byte == kEscape && !escaped_) {
        escaped_ = true;
        return std::nullopt;
    }
    damaged_ = damaged_ || bytes_.size() >= kLongest;
    if (!damaged_)
        bytes_.push_back(static_cast<std::uint8_t>(escaped_ ? byte & ~kEscapeBit : byte));
    escaped_ = false;
    return std::nullopt;
}

std::optional<VmFrame> VmDecoder::end(VmFrame::Kind kind)
{
    VmFrame frame{kind, std::exchange(bytes_, {})};
    const bool damaged = std::exchange(damaged_, false) || std::exchange(escaped_, false) || frame.bytes.empty();
    const bool message = kind == VmFrame::Kind::message;
    if (damaged || (message && checksum(frame.bytes) != 0))
        return std::nullopt;
    if (message)
        frame.bytes.pop_back();
    return frame;
}

std::optional<VmRequest> vmRequest(const VmFrame& frame)
{
    const auto& bytes = frame.bytes;
    if (frame.kind != VmFrame::Kind::message || bytes.size() < VmLayout::kData)
        return std::nullopt;
    VmRequest found{.sequence = bytes[VmLayout::kSequence], .request = {}};
    found.request.netfn = bytes[VmLayout::kNetfnLun] >> 2;
    found.request.lun = bytes[VmLayout::kNetfnLun] & 3;
    found.request.cmd = bytes[VmLayout::kCmd];
    found.request.data.assign(bytes.begin() + VmLayout::kData, bytes.end());
    return found;
}

std::vector<std::uint8_t> encodeAnswer(const VmRequest& request, std::span<const std::uint8_t> answer)
{
    const Request& asked = request.request;
    std::vector<std::uint8_t> bytes{request.sequence, static_cast<std::uint8_t>((asked.netfn | 1) << 2 | asked.lun),
                                    asked.cmd};
    bytes.insert(bytes.end(), answer.begin(), answer.end());
    bytes.push_back(checksum(bytes));
    return encode(bytes, kMessageEnd);
}

std::vector<std::uint8_t> encodeCommand(VmCommand command)
{
    const auto number = static_cast<std::uint8_t>(command);
    return encode(std::span(&number, 1), kCommandEnd);
}

} // namespace Sim
