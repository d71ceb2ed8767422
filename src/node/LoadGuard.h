// Lets one thread at a time load a node's repository or check its event log, and lets that thread come back.
#pragma once

#include "base/Mutex.h"

#include <pthread.h>

namespace Ipmi
{

/// Owner-aware guard: its owner may enter again (the info fetch loads the repository, whose read may fetch the info),
/// others wait. enter() tells how deep the owner is.
class LoadGuard
{
public:
    /// @return 1 for a fresh load, 2 and up for calls that come back inside it
    int enter();
    void leave();
    /// True for the thread that is inside.
    bool isOwner();

private:
    TRX::Mutex lock_;
    TRX::ConditionVariable free_;
    pthread_t owner_ TRX_GUARDED_BY(lock_){};
    int depth_ TRX_GUARDED_BY(lock_) = 0;
};

/// Holds a LoadGuard for a block.
class LoadScope
{
public:
    explicit LoadScope(LoadGuard& guard) : guard_(guard), depth_(guard.enter()) {}
    ~LoadScope() { guard_.leave(); }
    LoadScope(const LoadScope&) = delete;
    LoadScope& operator=(const LoadScope&) = delete;

    int depth() const { return depth_; }

private:
    LoadGuard& guard_;
    int depth_;
};

} // namespace Ipmi
