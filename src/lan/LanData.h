// SPDX-License-Identifier: Apache-2.0
// The state of an IpmiLan, and its refresh.
#pragma once

#include "base/Mutex.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ipmi
{

struct LanTexts {
    std::string mac, address, netmask, gateway;
    std::vector<std::string> ipv6;
    std::uint32_t enabled = 0; ///< 1 when the last question for the address was answered
};

/// Texts that a refresh works on, and those that it has published. Nothing here takes `refreshLock`: it is held across
/// a whole refresh, its commands included. The getters do not wait for it: they copy the published texts under
/// `publishedLock`, which is never held while the BMC is asked. Order: `refreshLock`, then the transport's `ioLock` or
/// `publishedLock`.
class LanData
{
public:
    int refresh(int node) TRX_REQUIRES(refreshLock);
    void initChannelNumber(int node) TRX_REQUIRES(refreshLock);
    void loadV6Addresses(int node) TRX_REQUIRES(refreshLock);
    void publish() TRX_REQUIRES(refreshLock);
    template <typename Value> Value published(Value LanTexts::*which)
    {
        TRX::MutexLock hold(publishedLock);
        return published_.*which;
    }

    TRX::Mutex refreshLock;
    std::optional<std::uint32_t> lanChannel TRX_GUARDED_BY(refreshLock); ///< one that says so itself

private:
    struct TextQuery;
    static const TextQuery kAddressQuery, kMacQuery, kNetmaskQuery, kGatewayQuery;
    bool query(int node, const TextQuery& what) TRX_REQUIRES(refreshLock);

    LanTexts texts_ TRX_GUARDED_BY(refreshLock);
    std::uint32_t channel_ TRX_GUARDED_BY(refreshLock) = 0; ///< 0 until it has been found

    TRX::Mutex publishedLock;
    LanTexts published_ TRX_GUARDED_BY(publishedLock);
};

} // namespace Ipmi
