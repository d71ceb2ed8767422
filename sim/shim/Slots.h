// SPDX-License-Identifier: Apache-2.0
// The open simulated devices of this process: a table without locks or start-up order.
#pragma once

#include "sim/device/Frame.h"

#include <atomic>
#include <cstdint>

namespace Sim::Shim
{

/// A plain value that several threads see. Relaxed on purpose: the callers' own locks order their calls, and
/// ThreadSanitizer must not see an order here that a device does not give.
template <typename T> class Shared
{
public:
    T get() const { return value_.load(std::memory_order_relaxed); }
    void set(T value) { value_.store(value, std::memory_order_relaxed); }
    T exchange(T value) { return value_.exchange(value, std::memory_order_relaxed); }
    T add(T count) { return value_.fetch_add(count, std::memory_order_relaxed); }
    bool change(T from, T to) { return value_.compare_exchange_strong(from, to, std::memory_order_relaxed); }

private:
    std::atomic<T> value_;
};

inline constexpr int kSlots = 128, kRegistrations = 16;

/// One open descriptor and what the driver keeps of it. All zero until claimed.
struct Slot {
    Shared<std::uint64_t> cookie; ///< the socket's identity, never used twice; 0: free
    Shared<int> fd;
    Shared<int> node;
    Shared<int> receiving; ///< 1 while a thread takes a message
    Shared<int> outstanding;
    Shared<int> retries;
    Shared<unsigned int> retryTime;
    Shared<int> maintenance;
    Shared<unsigned int> ipmbChannels;
    Shared<const Frame::Status*> status; ///< null until first claimed
    Shared<std::uint8_t> address[Frame::kChannels];
    Shared<std::uint8_t> lun[Frame::kChannels];
    Shared<std::uint64_t> registrations[kRegistrations];

    bool isBusy() const
    {
        const Frame::Status* page = status.get();
        return page && page->busy.load(std::memory_order_relaxed) != 0;
    }
};

/// Remembers the socket `fd` as device `node`, whose status is in the file `status`; null when the table is full or the
/// status is none.
Slot* claimSlot(int fd, int node, int status);
/// The slot of this descriptor or of one that it was duplicated from; null: not a simulated device.
Slot* findSlot(int fd);
/// Before `fd` is closed.
void forgetSlot(int fd);
/// Slot `index`, free ones included.
Slot& slotAt(int index);

} // namespace Sim::Shim
