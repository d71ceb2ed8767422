// SPDX-License-Identifier: Apache-2.0
// TRX::Reference<T>: a shared, reference-counted handle to a heap object.
#pragma once

#include <atomic>
#include <memory>
#include <utility>

namespace TRX
{

/// Shared handle: copies share one count, the last handle destroys the object (through its virtual destructor).
/// A handle may hold nothing. Distinct handles may be used from distinct threads; one handle by one thread at a time.
template <typename T> class Reference
{
public:
    Reference() = default;

    /// Takes ownership of `object` (may be null).
    explicit Reference(T* object) : Reference(std::unique_ptr<T>(object)) {}

    Reference(const Reference& other) : object_(other.object_), count_(other.count_)
    {
        if (count_)
            count_->fetch_add(1, std::memory_order_relaxed);
    }

    Reference(Reference&& other) noexcept
        : object_(std::exchange(other.object_, nullptr)), count_(std::exchange(other.count_, nullptr))
    {
    }

    Reference& operator=(Reference other) noexcept
    {
        std::swap(object_, other.object_);
        std::swap(count_, other.count_);
        return *this;
    }

    ~Reference()
    {
        if (count_ && count_->fetch_sub(1, std::memory_order_acq_rel) == 1) {
            delete object_;
            delete count_;
        }
    }

    /// The object, or null; owned by the handles.
    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    explicit Reference(std::unique_ptr<T> object)
        : count_(object ? new std::atomic<int>(1) : nullptr) // where this throws the object is not lost
    {
        object_ = object.release();
    }

    T* object_ = nullptr;
    std::atomic<int>* count_ = nullptr;
};

} // namespace TRX
