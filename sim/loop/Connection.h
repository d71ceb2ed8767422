// SPDX-License-Identifier: Apache-2.0
// One client of a stream socket.
#pragma once

#include "sim/loop/Descriptor.h"

#include <poll.h>

#include <string>
#include <string_view>
#include <vector>

namespace Sim
{

/// Never waits: what the client does not take yet is kept for it.
class Connection
{
public:
    Connection() = default;
    /// `socket` must not block.
    explicit Connection(Descriptor socket) : socket_(std::move(socket)) {}

    /// What has come, at most `most` bytes.
    std::string read(std::size_t most);
    /// Sends now or keeps it for flush().
    void write(std::string_view bytes);
    void flush();

    /// Bytes that the client has not taken yet.
    std::size_t kept() const { return kept_.size(); }
    /// The client sends no more.
    bool ended() const { return ended_; }
    /// The client takes no more.
    bool broken() const { return broken_; }
    void addTo(std::vector<pollfd>& waiting) const;

private:
    Descriptor socket_;
    std::string kept_;
    bool ended_ = false;
    bool broken_ = false;
};

} // namespace Sim
