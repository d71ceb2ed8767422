// SPDX-License-Identifier: Apache-2.0
// A node in use: opened, prepared, and closed again.
#pragma once

#include "wire/Commands.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace Tool
{

/// The BMC's answer to one command.
struct Reply {
    std::uint8_t completionCode = 0;
    std::vector<std::uint8_t> data; ///< without the completion code; empty unless that is 0
    bool maybeCut = false;          ///< as long as the library keeps at most: there may have been more
};

/// Throws Failure when /dev/ipmi<node> cannot be opened.
void requireDevice(int node);
/// In one line, what is wrong and what to do.
/// @param error  errno of the attempt
std::string openFailure(int node, int error);

/// One command to a node that is open; nothing without an answer. (The library tells completion code FFh as no answer.)
std::optional<Reply> sendTo(int node, Ipmi::wire::Command command, std::span<const std::uint8_t> data = {});

class NodeSession
{
public:
    /// Opens /dev/ipmi<node>. Throws Failure.
    explicit NodeSession(int node);
    ~NodeSession();
    NodeSession(const NodeSession&) = delete;
    NodeSession& operator=(const NodeSession&) = delete;

    int node() const { return node_; }
    /// Throws Failure when the BMC does not say who it is.
    void requireBmc() const;
    std::optional<Reply> send(Ipmi::wire::Command command, std::span<const std::uint8_t> data = {}) const
    {
        return sendTo(node_, command, data);
    }

private:
    int node_;
};

} // namespace Tool
