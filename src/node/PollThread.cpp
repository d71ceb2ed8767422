#include "node/PollThread.h"

#include <utility>

namespace Ipmi
{

namespace
{
thread_local const PollThread* innermost = nullptr;
} // namespace

PollThread::PollThread(int node) : node_(node), before_(std::exchange(innermost, this)) {}

PollThread::~PollThread()
{
    innermost = before_;
}

bool PollThread::runs(int node)
{
    for (const PollThread* thread = innermost; thread; thread = thread->before_)
        if (thread->node_ == node)
            return true;
    return false;
}

} // namespace Ipmi
