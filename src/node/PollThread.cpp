#include "node/PollThread.h"

#include "node/IpmiNode.h"

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

bool PollThread::isIn(int node)
{
    for (const PollThread* thread = innermost; thread; thread = thread->before_)
        if (thread->node_ == node)
            return true;
    return g_IpmiNode[node].selGuard.isOwner();
}

} // namespace Ipmi
