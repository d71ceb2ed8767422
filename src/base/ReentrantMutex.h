// SPDX-License-Identifier: Apache-2.0
// A lock that the thread which holds it may take again.
#pragma once

#include "base/Mutex.h"

#include <pthread.h>

namespace TRX
{

/// A mutex that knows its owner and counts how deep the owner is in.
class TRX_CAPABILITY("mutex") ReentrantMutex
{
public:
    /// @return 1 for a fresh hold, 2 and up where the owner has come back
    int lock() TRX_ACQUIRE();
    void unlock() TRX_RELEASE();
    /// True for the thread that holds it.
    bool isOwner();

private:
    Mutex lock_;
    ConditionVariable free_;
    pthread_t owner_ TRX_GUARDED_BY(lock_){};
    int depth_ TRX_GUARDED_BY(lock_) = 0;
};

/// Holds a ReentrantMutex for a block.
class TRX_SCOPED_CAPABILITY ReentrantLock
{
public:
    explicit ReentrantLock(ReentrantMutex& mutex) TRX_ACQUIRE(mutex) : mutex_(mutex), depth_(mutex.lock()) {}
    ~ReentrantLock() TRX_RELEASE() { mutex_.unlock(); }
    ReentrantLock(const ReentrantLock&) = delete;
    ReentrantLock& operator=(const ReentrantLock&) = delete;

    int depth() const { return depth_; }

private:
    ReentrantMutex& mutex_;
    int depth_;
};

} // namespace TRX
