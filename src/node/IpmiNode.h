// SPDX-License-Identifier: Apache-2.0
// One node: everything that is known of one BMC behind /dev/ipmi<N>.
#pragma once

#include "base/Mutex.h"
#include "base/ReentrantMutex.h"
#include "entity/EntityTree.h"
#include "fru/FruReading.h"
#include "ipmi/IpmiFru.h"
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiLan.h"
#include "ipmi/IpmiRecords.h"
#include "ipmi/IpmiSensor.h"
#include "ipmi/Reference.h"
#include "sdr/RefreshRoster.h"
#include "sdr/SdrRepository.h"
#include "sel/SelCache.h"
#include "transport/Channel.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ipmi
{

inline constexpr int kFullPollStep = 8; ///< each so manyth cycle of a polling loop does more than look at the event log

/// A text among the system info parameters (IPMI 2.0, 22.14a), as far as its blocks have been asked for.
struct SystemInfoText {
    std::uint8_t encoding = 0;
    std::uint8_t length = 0;         ///< of the whole text, in bytes
    std::vector<std::uint8_t> bytes; ///< at most `length`
};

/// BMC identity: raw answers, completion code first, and how many of their bytes the BMC sent (0: not answered yet).
struct BmcIdentity {
    std::array<std::uint8_t, 16> deviceId{};
    std::size_t deviceIdLength = 0;
    std::array<std::uint8_t, 3> selfTest{};
    std::size_t selfTestLength = 0;
    std::optional<SystemInfoText> osName;
    std::optional<SystemInfoText> osVersion;
};

/// A node's record: its channel, and what is known of the BMC behind it. Order of locks where two are held: `loadLock`,
/// `sdrLock`, then `entityLock`, then `ioLock`; `loadLock`, `fruLock`, then `ioLock`; `refreshLock` before `sdrLock`;
/// `selCheckLock` before these, as handlers are called under it; `selLock`, then `ioLock`; `bmcInfoLock` before
/// `ioLock`; `stateLock` alone; `pollLock` outermost.
struct IpmiNode : Channel {
    IpmiNode() = default;
    ~IpmiNode();
    IpmiNode(const IpmiNode&) = delete;
    IpmiNode& operator=(const IpmiNode&) = delete;

    std::atomic<int> NodeNum{0};

    TRX::Mutex stateLock;
    TRX::ConditionVariable stateCond;
    std::atomic<int> state{
        0}; ///< changed under stateLock, except by the plain stores of InitIpmiNode and IpmiIfcInitForCLI

    TRX::Mutex pollLock;
    TRX::ConditionVariable pollCond;
    std::atomic<int> pollingInterval{0};
    std::atomic<int> pollCount{0};
    std::atomic<int> pollType{0};

    TRX::ReentrantMutex loadLock; ///< whole loads of the repository run one at a time
    TRX::SharedMutex sdrLock;
    SdrRepository repository TRX_GUARDED_BY(sdrLock);
    std::vector<TRX::Reference<IpmiSensor>> sensors TRX_GUARDED_BY(sdrLock);
    std::atomic<std::uint8_t> memorySensor{0}; ///< 1 when the repository has a memory sensor that can report

    TRX::ReentrantMutex selCheckLock; ///< checks of the event log run one at a time, their handlers' calls included
    bool selHandling TRX_GUARDED_BY(selCheckLock) = false; ///< its holder calls handlers
    bool selFetching TRX_GUARDED_BY(selCheckLock) = false; ///< its holder fetches an info because there was none
    TRX::Mutex selLock;
    SelCache sel TRX_GUARDED_BY(selLock);

    TRX::Mutex bmcInfoLock;
    BmcIdentity identity TRX_GUARDED_BY(bmcInfoLock);

    TRX::Mutex refreshLock; ///< whole passes of IpmiIfcSensorRefreshAll run one at a time
    RefreshRoster roster TRX_GUARDED_BY(refreshLock);

    TRX::Mutex entityLock;
    EntityTree entities TRX_GUARDED_BY(entityLock);

    TRX::Mutex fruLock; ///< one FRU device is read at a time
    FruReading fru TRX_GUARDED_BY(fruLock);
    std::atomic<std::uint8_t> fruAccessWord{0}; ///< 1 while the device being read counts in words
    TRX::Mutex fruListLock; ///< innermost, so that callers wait for a copy only; never held while the BMC is asked
    std::vector<TRX::Reference<IpmiFru>> frus TRX_GUARDED_BY(fruListLock);
    std::vector<IpmiFruDevice> fruDevices TRX_GUARDED_BY(fruListLock);
    IpmiLan lan; ///< with locks of its own; that of its refreshes comes before `ioLock`
};

/// Nodes 0 to 3.
extern IpmiNode g_IpmiNode[kNodeCount];

/// Initialises the record: message id 1445, state IDLE, pipe closed, identity and repository dropped. Leaves locks,
/// device, addresses and the shutdown flag alone. Throws CmpiStatus rc 200 on a STARTING or RUNNING node and leaves it
/// untouched.
void InitIpmiNode(int node);
void _setState(int node, IpmiIfc::IPMI_STATE state);
IpmiIfc::IPMI_STATE _getState(int node);
/// Checked transition; throws CmpiStatus rc 200 when the state is not `from`.
void _changeState(int node, IpmiIfc::IPMI_STATE from, IpmiIfc::IPMI_STATE to);

} // namespace Ipmi
