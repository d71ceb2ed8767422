#include "node/LoadGuard.h"

namespace Ipmi
{

int LoadGuard::enter()
{
    TRX::MutexLock hold(lock_);
    const pthread_t self = pthread_self();
    while (depth_ != 0 && !pthread_equal(owner_, self))
        free_.wait(lock_);
    owner_ = self;
    return ++depth_;
}

void LoadGuard::leave()
{
    TRX::MutexLock hold(lock_);
    if (--depth_ == 0)
        free_.broadcast();
}

bool LoadGuard::isOwner()
{
    TRX::MutexLock hold(lock_);
    return depth_ != 0 && pthread_equal(owner_, pthread_self());
}

} // namespace Ipmi
