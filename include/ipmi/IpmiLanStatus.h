// SPDX-License-Identifier: Apache-2.0
// What a BMC says of its LAN channel, as the IPMI standard has it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Ipmi
{

/// The settings of a LAN channel (IPMI 2.0, table 23-4). A plain value. What the BMC did not say is absent; codes that
/// have no name here are kept as they were sent.
struct IpmiLanStatus {
    /// Where the IPv4 address comes from; IPMI 2.0, parameter 4.
    enum Ipv4Source : std::uint8_t {
        kUnspecifiedSource = 0,
        kStaticAddress = 1,
        kDhcp = 2,
        kBios = 3, ///< or system software
        kOtherSource = 4
    };
    struct Ipv4 {
        std::optional<std::string> address; ///< "192.0.2.17"; 0.0.0.0 only where the BMC says so
        std::optional<std::string> netmask;
        std::optional<std::string> gateway;
        std::optional<std::string> gatewayMac;
        std::optional<Ipv4Source> source;
    };
    /// Parameters 20 and 21. Id and priority are what is set, whether the tag is used or not.
    struct Vlan {
        std::optional<bool> enabled;
        std::optional<std::uint16_t> id;      ///< 0..4095
        std::optional<std::uint8_t> priority; ///< 0..7
    };

    enum Ipv6Kind : std::uint8_t { kStaticSet, kDynamicSet };
    enum Ipv6Source : std::uint8_t { kIpv6Static = 0, kSlaac = 1, kDhcpv6 = 2 };
    enum Ipv6State : std::uint8_t {
        kActive = 0,
        kDisabled = 1,
        kPending = 2,
        kFailed = 3,
        kDeprecated = 4,
        kInvalid = 5
    };
    /// Parameters 56 and 59.
    struct Ipv6 {
        std::string address; ///< as RFC 5952 writes it
        std::uint8_t prefix = 0;
        Ipv6Kind kind = kStaticSet;
        Ipv6Source source = kIpv6Static;
        Ipv6State status = kActive;
    };

    std::optional<std::uint8_t> channel; ///< 1..7
    std::optional<bool> enabled;         ///< whether the channel has an IPv4 address to tell, be it 0.0.0.0
    std::optional<std::string> mac;      ///< "52:54:00:ab:cd:01"
    Ipv4 ipv4;
    Vlan vlan;
    std::optional<bool> ipv6Enabled; ///< parameter 51
    /// The static addresses, then the dynamic ones; sets that hold no address (::) are left out. Empty: the BMC has
    /// none.
    std::optional<std::vector<Ipv6>> ipv6;
    /// False where a question got no answer, after which none more was asked, or what tells of IPv6 addresses was
    /// garbled: the BMC may have more than is told here.
    bool whole = true;
};

} // namespace Ipmi
