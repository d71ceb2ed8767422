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

    /// True inside such a block: in what the loop calls, handlers included.
    static bool runs(int node);

private:
    int node_;
    const PollThread* before_;
};

} // namespace Ipmi
