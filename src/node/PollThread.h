// Which nodes the calling thread runs.
#pragma once

namespace Ipmi
{

/// Marks the calling thread as the node's polling thread for a block.
class PollThread
{
public:
    explicit PollThread(int node);
    ~PollThread();
    PollThread(const PollThread&) = delete;
    PollThread& operator=(const PollThread&) = delete;

    /// True where the calling thread would wait for itself if it waited for the node's loop: inside such a block, and
    /// in handlers that its own check of the event log calls, which keeps the loop from the next one.
    static bool isIn(int node);

private:
    int node_;
    const PollThread* before_;
};

} // namespace Ipmi
