// SPDX-License-Identifier: Apache-2.0
// The LAN configuration parameters: IPMI 2.0, table 23-4.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>

namespace Sim::LanLayout
{

/// Which selectors a parameter's data begin with.
enum class Selectors : std::uint8_t { none, set, setAndBlock };

struct Parameter {
    std::uint8_t number;
    std::uint8_t size; ///< of its data, without selectors
    bool readOnly = false;
    Selectors selectors = Selectors::none;
};

inline constexpr std::uint8_t kSetInProgress = 0, kAuthenticationSupport = 1, kAuthenticationEnables = 2, kAddress = 3,
                              kSource = 4, kMac = 5, kNetmask = 6, kHeader = 7, kPrimaryPort = 8, kSecondaryPort = 9,
                              kArpControl = 10, kArpInterval = 11, kGateway = 12, kGatewayMac = 13, kBackupGateway = 14,
                              kBackupGatewayMac = 15, kCommunity = 16, kDestinations = 17, kDestinationType = 18,
                              kDestinationAddress = 19, kVlanId = 20, kVlanPriority = 21, kCipherSuiteCount = 22,
                              kCipherSuites = 23, kCipherPrivileges = 24, kDestinationVlan = 25, kIpv6Support = 50,
                              kIpv6Enables = 51, kIpv6HopLimit = 53, kIpv6Status = 55, kIpv6Static = 56,
                              kStaticDuidBlocks = 57, kIpv6Dynamic = 59, kDynamicDuidBlocks = 60, kRouterControl = 64;

inline constexpr Parameter kParameters[] = {
    {kSetInProgress, 1},
    {kAuthenticationSupport, 1, true},
    {kAuthenticationEnables, 5},
    {kAddress, 4},
    {kSource, 1},
    {kMac, 6},
    {kNetmask, 4},
    {kHeader, 3},
    {kPrimaryPort, 2},
    {kSecondaryPort, 2},
    {kArpControl, 1},
    {kArpInterval, 1},
    {kGateway, 4},
    {kGatewayMac, 6},
    {kBackupGateway, 4},
    {kBackupGatewayMac, 6},
    {kCommunity, 18},
    {kDestinations, 1, true},
    {kDestinationType, 3, false, Selectors::set},
    {kDestinationAddress, 12, false, Selectors::set},
    {kVlanId, 2},
    {kVlanPriority, 1},
    {kCipherSuiteCount, 1, true},
    {kCipherSuites, 17, true},
    {kCipherPrivileges, 9},
    {kDestinationVlan, 3, false, Selectors::set},
    {26, 6}, // bad password threshold
    {kIpv6Support, 1, true},
    {kIpv6Enables, 1},
    {52, 1}, // static traffic class
    {kIpv6HopLimit, 1},
    {54, 3}, // flow label
    {kIpv6Status, 3, true},
    {kIpv6Static, 19, false, Selectors::set},
    {kStaticDuidBlocks, 1, true},
    {58, 16, false, Selectors::setAndBlock}, // DHCPv6 static DUIDs
    {kIpv6Dynamic, 19, true, Selectors::set},
    {kDynamicDuidBlocks, 1, true},
    {61, 16, true, Selectors::setAndBlock}, // DHCPv6 dynamic DUIDs
    {62, 1, true},                          // DHCPv6 timing support: none
    {kRouterControl, 1},
    {65, 16}, // static router 1: address, MAC, prefix length and value
    {66, 6},
    {67, 1},
    {68, 16},
    {69, 16}, // static router 2
    {70, 6},
    {71, 1},
    {72, 16},
    {73, 1, true}, // dynamic routers: count, then address, MAC, prefix length and value, hop limit
    {74, 16, true, Selectors::set},
    {75, 6, true, Selectors::set},
    {76, 1, true, Selectors::set},
    {77, 16, true, Selectors::set},
    {78, 1, true, Selectors::set},
    {79, 1, true}, // neighbour discovery timing support: none
};
static_assert(std::is_sorted(std::begin(kParameters), std::end(kParameters),
                             [](const Parameter& a, const Parameter& b) { return a.number < b.number; }));

/// Null for one that there is not.
constexpr const Parameter* find(std::uint8_t number)
{
    const auto* found = std::find_if(std::begin(kParameters), std::end(kParameters),
                                     [number](const Parameter& one) { return one.number == number; });
    return found == std::end(kParameters) ? nullptr : found;
}

/// In a set of an IPv6 address: source (bit 7 of a static one: in use), address, prefix length, status.
namespace Ipv6Set
{
inline constexpr std::size_t kSource = 0, kAddress = 1, kPrefix = 17, kStatus = 18;
inline constexpr std::uint8_t kEnabled = 0x80, kActive = 0, kDisabled = 1;
} // namespace Ipv6Set

} // namespace Sim::LanLayout
