// SPDX-License-Identifier: Apache-2.0
// The LAN settings of a node's BMC.
#pragma once

#include "ipmi/Export.h"
#include "ipmi/IpmiLanStatus.h"

#include <memory>
#include <string>
#include <vector>

namespace Ipmi
{

class LanData;

/// What was last read of a BMC's LAN settings, as texts. Each node has one (IpmiIfc::getLan); the polling loop
/// refreshes it. The getters may be called from any thread, send nothing and never wait for a refresh: each copies what
/// the last one that ended has left, texts that could not be read since included. All empty before the first.
class TRX_IPMI_API IpmiLan
{
public:
    IpmiLan();
    ~IpmiLan();
    IpmiLan(const IpmiLan&) = delete;
    IpmiLan& operator=(const IpmiLan&) = delete;

    /// Reads the settings anew (IPMI 2.0, 23.2 Get LAN Configuration Parameters). Sends up to twelve commands and
    /// blocks, at most 30 s on each; refreshes of one node run one at a time.
    /// @param node  the one that this belongs to
    /// @return 0; -1 when the netmask or the gateway could not be read, where what comes after is not asked for
    int IpmiIfcLanInstantiate(int node);
    /// Finds the LAN channel (IPMI 2.0, 22.24 Get Channel Info): the first of 1 to 7 that is one, else 1. Sends up to
    /// seven commands and blocks.
    /// @threads one, while no refresh runs: it is a part of refreshes and takes no lock of theirs
    void initChannelNumber(int node);
    /// Appends the text of the first static IPv6 address, up to 4,096 in all. Sends a command and blocks.
    /// @threads as initChannelNumber
    void load_v6_addresses(int node);

    /// True when the last question for the IPv4 address was answered, be it with 0.0.0.0.
    bool isEnabled() const;
    /// As "00:1a:2b:3c:4d:5e".
    std::string getMACAddress() const;
    /// In dotted decimal, like the next two.
    std::string getIPv4Address() const;
    std::string getIPv4Netmask() const;
    std::string getIPv4DefaultGateway() const;
    /// One text for each refresh that found an active address: eight bytes with colons, of which the first two are set
    /// selector and address source. This is meant; status() has the addresses themselves.
    std::vector<std::string> getIPv6Addresses() const;

    /// The settings as they stand in the BMC now, by the standard (IPMI 2.0, table 23-4, parameters 3 to 59), and
    /// leaves the texts above as they are. No parameter is asked for twice, and nothing more after one that got no
    /// answer. Sends commands, some 20 and one for each IPv6 address that the BMC has room for, and blocks, at most 30
    /// s on each; waits for a refresh that runs. Of an IpmiLan that is no node's, all is absent.
    /// @threads any
    IpmiLanStatus status();

private:
    std::unique_ptr<LanData> data_;
};

} // namespace Ipmi
