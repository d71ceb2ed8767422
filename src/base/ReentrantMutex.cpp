// SPDX-License-Identifier: Apache-2.0
// Who holds the lock, and how many times.
#include "base/ReentrantMutex.h"

namespace TRX
{

int ReentrantMutex::lock() TRX_NO_THREAD_SAFETY_ANALYSIS
{
    MutexLock hold(lock_);
    const pthread_t self = pthread_self();
    while (depth_ != 0 && !pthread_equal(owner_, self))
        free_.wait(lock_);
    owner_ = self;
    return ++depth_;
}

void ReentrantMutex::unlock() TRX_NO_THREAD_SAFETY_ANALYSIS
{
    MutexLock hold(lock_);
    if (--depth_ == 0)
        free_.broadcast();
}

bool ReentrantMutex::isOwner()
{
    MutexLock hold(lock_);
    return depth_ != 0 && pthread_equal(owner_, pthread_self());
}

} // namespace TRX
