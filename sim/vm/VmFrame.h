// SPDX-License-Identifier: Apache-2.0
// The VM serial protocol, byte by byte: what QEMU's external BMC device (ipmi-bmc-extern) and a BMC say to each other.
#pragma once

#include "sim/bus/Message.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Sim
{

/// Something whole that was said: a message, or a command about the line or the machine itself.
struct VmFrame {
    enum class Kind { message, command };
    Kind kind = Kind::message;
    std::vector<std::uint8_t> bytes; ///< without escapes, checksum and end
};

/// What BMC and QEMU tell each other beside messages.
enum class VmCommand : std::uint8_t { attentionOff = 0x00, attentionInterrupt = 0x02, interruptsOn = 0x05 };

/// A request and the byte by which its answer is known.
struct VmRequest {
    std::uint8_t sequence = 0;
    Request request;
};

/// Finds frames in a stream of bytes. Overlong and damaged ones are dropped, the next one is found again.
class VmDecoder
{
public:
    /// Longer than any request of the driver, before escapes and end are added.
    static constexpr std::size_t kLongest = 300;

    /// Takes one byte; the frame that it ends.
    std::optional<VmFrame> take(std::uint8_t byte);

private:
    std::optional<VmFrame> end(VmFrame::Kind kind);

    std::vector<std::uint8_t> bytes_;
    bool escaped_ = false;
    bool damaged_ = false;
};

/// The request in a frame's message; empty when it is too short to be one.
std::optional<VmRequest> vmRequest(const VmFrame& frame);

/// The bytes to send. `answer` is the completion code and what follows.
std::vector<std::uint8_t> encodeAnswer(const VmRequest& request, std::span<const std::uint8_t> answer);
std::vector<std::uint8_t> encodeCommand(VmCommand command);

} // namespace Sim
