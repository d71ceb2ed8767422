// SPDX-License-Identifier: Apache-2.0
// Locks that the compiler checks: clang's -Wthread-safety knows these types and the members they guard.
#pragma once

#include <pthread.h>

#if defined(__clang__)
#define TRX_ANNOTATION(x) __attribute__((x))
#else
#define TRX_ANNOTATION(x)
#endif

#define TRX_CAPABILITY(name) TRX_ANNOTATION(capability(name))
#define TRX_SCOPED_CAPABILITY TRX_ANNOTATION(scoped_lockable)
#define TRX_GUARDED_BY(lock) TRX_ANNOTATION(guarded_by(lock))
#define TRX_PT_GUARDED_BY(lock) TRX_ANNOTATION(pt_guarded_by(lock))
#define TRX_REQUIRES(...) TRX_ANNOTATION(requires_capability(__VA_ARGS__))
#define TRX_REQUIRES_SHARED(...) TRX_ANNOTATION(requires_shared_capability(__VA_ARGS__))
#define TRX_ACQUIRE(...) TRX_ANNOTATION(acquire_capability(__VA_ARGS__))
#define TRX_ACQUIRE_SHARED(...) TRX_ANNOTATION(acquire_shared_capability(__VA_ARGS__))
#define TRX_TRY_ACQUIRE(...) TRX_ANNOTATION(try_acquire_capability(__VA_ARGS__))
#define TRX_RELEASE(...) TRX_ANNOTATION(release_capability(__VA_ARGS__))
#define TRX_RELEASE_GENERIC(...) TRX_ANNOTATION(release_generic_capability(__VA_ARGS__))
#define TRX_EXCLUDES(...) TRX_ANNOTATION(locks_excluded(__VA_ARGS__))
#define TRX_NO_THREAD_SAFETY_ANALYSIS TRX_ANNOTATION(no_thread_safety_analysis)

namespace TRX
{

class ConditionVariable;

/// A non-recursive mutex.
class TRX_CAPABILITY("mutex") Mutex
{
public:
    Mutex() { pthread_mutex_init(&mutex_, nullptr); }
    ~Mutex() { pthread_mutex_destroy(&mutex_); }
    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() TRX_ACQUIRE() { pthread_mutex_lock(&mutex_); }
    void unlock() TRX_RELEASE() { pthread_mutex_unlock(&mutex_); }
    bool tryLock() TRX_TRY_ACQUIRE(true) { return pthread_mutex_trylock(&mutex_) == 0; }

private:
    friend class ConditionVariable;
    pthread_mutex_t mutex_;
};

/// A read-write lock.
class TRX_CAPABILITY("mutex") SharedMutex
{
public:
    SharedMutex() { pthread_rwlock_init(&lock_, nullptr); }
    ~SharedMutex() { pthread_rwlock_destroy(&lock_); }
    SharedMutex(const SharedMutex&) = delete;
    SharedMutex& operator=(const SharedMutex&) = delete;

    void lock() TRX_ACQUIRE() { pthread_rwlock_wrlock(&lock_); }
    void unlock() TRX_RELEASE() { pthread_rwlock_unlock(&lock_); }
    void lockShared() TRX_ACQUIRE_SHARED() { pthread_rwlock_rdlock(&lock_); }
    void unlockShared() TRX_RELEASE_GENERIC() { pthread_rwlock_unlock(&lock_); }

private:
    pthread_rwlock_t lock_;
};

/// Holds a mutex for a block.
class TRX_SCOPED_CAPABILITY MutexLock
{
public:
    explicit MutexLock(Mutex& mutex) TRX_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~MutexLock() TRX_RELEASE() { mutex_.unlock(); }
    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mutex_;
};

/// Holds a read-write lock for writing for a block; may be let go and taken again inside it.
class TRX_SCOPED_CAPABILITY WriteLock
{
public:
    explicit WriteLock(SharedMutex& mutex) TRX_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~WriteLock() TRX_RELEASE()
    {
        if (held_)
            mutex_.unlock();
    }
    WriteLock(const WriteLock&) = delete;
    WriteLock& operator=(const WriteLock&) = delete;

    void lock() TRX_ACQUIRE()
    {
        mutex_.lock();
        held_ = true;
    }
    void unlock() TRX_RELEASE()
    {
        held_ = false;
        mutex_.unlock();
    }

private:
    SharedMutex& mutex_;
    bool held_ = true;
};

/// Holds a read-write lock for reading for a block.
class TRX_SCOPED_CAPABILITY ReadLock
{
public:
    explicit ReadLock(SharedMutex& mutex) TRX_ACQUIRE_SHARED(mutex) : mutex_(mutex) { mutex_.lockShared(); }
    ~ReadLock() TRX_RELEASE_GENERIC() { mutex_.unlockShared(); }
    ReadLock(const ReadLock&) = delete;
    ReadLock& operator=(const ReadLock&) = delete;

private:
    SharedMutex& mutex_;
};

/// A condition variable for a Mutex; its timed wait counts on the wall clock.
class ConditionVariable
{
public:
    ConditionVariable() { pthread_cond_init(&condition_, nullptr); }
    ~ConditionVariable() { pthread_cond_destroy(&condition_); }
    ConditionVariable(const ConditionVariable&) = delete;
    ConditionVariable& operator=(const ConditionVariable&) = delete;

    void wait(Mutex& mutex) TRX_REQUIRES(mutex) { pthread_cond_wait(&condition_, &mutex.mutex_); }
    /// @return false when the deadline passed first
    bool waitUntil(Mutex& mutex, const timespec& deadline) TRX_REQUIRES(mutex)
    {
        return pthread_cond_timedwait(&condition_, &mutex.mutex_, &deadline) == 0;
    }
    void broadcast() { pthread_cond_broadcast(&condition_); }

private:
    pthread_cond_t condition_;
};

} // namespace TRX
