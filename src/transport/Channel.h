// SPDX-License-Identifier: Apache-2.0
// A node's way to its BMC: the open device, and what its exchanges share.
#pragma once

#include "base/Mutex.h"
#include "ipmi/IpmiRecords.h"
#include "transport/GivenUpIds.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace Ipmi
{

inline constexpr int FD_READ = 0, FD_WRITE = 1;

/// Part of the node's record. Locks are the innermost of all.
struct Channel {
    std::atomic<int> nextMsgId{0}; ///< drawn without a lock; wraps like an int

    TRX::Mutex ioLock; ///< one exchange at a time
    GivenUpIds givenUp TRX_GUARDED_BY(ioLock);

    std::atomic<int> signalCmdPipeFds[2] = {0, 0};
    std::atomic<bool> pipeIsOpen{false}; ///< the ends are ours; before the first opening they are 0 and are not
    std::atomic<bool> shutdown{false};   ///< never cleared: a node runs once per process

    std::atomic<int> fd{0};
    std::atomic<int> deviceOpen{0};
    std::atomic<unsigned int> openings{0}; ///< counts every opening and closing of the device
    std::atomic<unsigned int> myAddress{0};
    /// Base target of every exchange; 0 or myAddress: the BMC itself. A thread that asks another controller overrides
    /// it for itself with a TargetScope.
    std::atomic<unsigned int> targetAddress{0};
    std::atomic<std::uint8_t> targetLun{0};
    std::atomic<std::uint8_t> targetChannel{0};

    /// Answered exchanges by the slave address of the controller that answered.
    std::array<std::atomic<std::uint32_t>, 256> answers{};
};

inline bool isNode(int node)
{
    return node >= 0 && node < kNodeCount;
}

/// The channel in the record of a node, 0..3. Whoever keeps the records defines it: the transport knows channels only.
Channel& channelOf(int node);

} // namespace Ipmi
