// SPDX-License-Identifier: Apache-2.0
// Which nodes' loops the calling thread runs.
#pragma once

namespace Ipmi
{

/// While it lives, the calling thread runs the node's loop.
class LoopScope
{
public:
    explicit LoopScope(int node);
    ~LoopScope();
    LoopScope(const LoopScope&) = delete;
    LoopScope& operator=(const LoopScope&) = delete;

    /// True where the calling thread would wait for itself if it waited for the node's loop: inside such a block, and
    /// in handlers that its own check of the event log calls, which keeps the loop from the next one.
    static bool isIn(int node);

private:
    int node_;
    const LoopScope* before_;
};

} // namespace Ipmi
