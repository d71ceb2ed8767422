// SPDX-License-Identifier: Apache-2.0
// Asking a BMC: the one way in which the library sends a command, and the one way to judge what comes back.
#pragma once

#include "ipmi/IpmiRecords.h"
#include "transport/Exchange.h"
#include "wire/Commands.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

namespace Ipmi
{

/// The answer to a command, or that there was none. A plain value.
class Answer
{
public:
    static constexpr int kNone = -1;

    Answer() = default;
    explicit Answer(const Exchanged& exchanged);

    /// The completion code, 0..FFh; kNone where no answer came.
    int code() const { return answered_ ? data_[0] : kNone; }
    bool answered() const { return answered_; }
    /// Completed normally, and with at least so many bytes, completion code included.
    bool good(std::size_t size = 1) const { return code() == wire::cc::kOk && bytes().size() >= size; }
    /// The same word for both where they are not told apart: FFh where no answer came.
    std::uint8_t codeOrNoAnswer() const { return answered_ ? data_[0] : wire::kNoAnswer; }
    /// Nothing came back although the command may have reached the BMC: it was sent, and no shutdown ended the wait.
    bool timedOut() const { return timedOut_; }

    /// Bytes received, as the driver says; 0 without an answer.
    int length() const { return length_; }
    /// The bytes received and kept, completion code first: at most 32.
    std::span<const std::uint8_t> bytes() const
    {
        return std::span(data_).first(static_cast<std::size_t>(std::clamp(length_, 0, kAnswerRoom)));
    }
    /// Byte `index`, or 0 where the BMC did not send it.
    std::uint8_t at(std::size_t index) const { return index < bytes().size() ? bytes()[index] : std::uint8_t{0}; }
    /// Two and four of them, LS byte first.
    std::uint16_t le16(std::size_t index) const { return Ipmi::le16(at(index), at(index + 1)); }
    std::uint32_t le32(std::size_t index) const
    {
        return le16(index) | static_cast<std::uint32_t>(le16(index + 2)) << 16;
    }

    /// The answer as a reply of `node`, for the answer handlers; it owns nothing.
    ipmiifc_resp reply(int node) const;

private:
    std::array<std::uint8_t, kAnswerRoom> data_{};
    std::int32_t length_ = 0;
    bool answered_ = false;
    bool timedOut_ = false;
};

/// Sends one command to the thread's target on `node`, with the node's next message id or with the one given, and
/// waits for its answer. No answer for a node outside 0..3 and for more than 65,535 bytes of data.
Answer ask(int node, wire::Command command, std::span<const std::uint8_t> data = {},
           std::optional<long> messageId = std::nullopt);

} // namespace Ipmi
