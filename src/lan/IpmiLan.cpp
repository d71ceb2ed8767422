// SPDX-License-Identifier: Apache-2.0
// The LAN settings as callers see them.
#include "ipmi/IpmiLan.h"

#include "ipmi/IpmiIfc.h"
#include "lan/LanData.h"
#include "node/IpmiNode.h"

namespace Ipmi
{

IpmiLan* IpmiIfc::getLan(int node)
{
    return isNode(node) ? &g_IpmiNode[node].lan : nullptr;
}

IpmiLan::IpmiLan() : data_(std::make_unique<LanData>()) {}

IpmiLan::~IpmiLan() = default;

int IpmiLan::IpmiIfcLanInstantiate(int node)
{
    TRX::MutexLock hold(data_->refreshLock);
    const int result = data_->refresh(node);
    data_->publish();
    return result;
}

// The next two are without the refresh's lock: whoever calls them by themselves sees to it that no refresh runs.

void IpmiLan::initChannelNumber(int node) TRX_NO_THREAD_SAFETY_ANALYSIS
{
    data_->initChannelNumber(node);
}

void IpmiLan::load_v6_addresses(int node) TRX_NO_THREAD_SAFETY_ANALYSIS
{
    data_->loadV6Addresses(node);
    data_->publish();
}

bool IpmiLan::isEnabled() const
{
    return data_->published(&LanTexts::enabled) != 0;
}

std::string IpmiLan::getMACAddress() const
{
    return data_->published(&LanTexts::mac);
}

std::string IpmiLan::getIPv4Address() const
{
    return data_->published(&LanTexts::address);
}

std::string IpmiLan::getIPv4Netmask() const
{
    return data_->published(&LanTexts::netmask);
}

std::string IpmiLan::getIPv4DefaultGateway() const
{
    return data_->published(&LanTexts::gateway);
}

std::vector<std::string> IpmiLan::getIPv6Addresses() const
{
    return data_->published(&LanTexts::ipv6);
}

} // namespace Ipmi
