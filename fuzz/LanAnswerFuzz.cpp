// SPDX-License-Identifier: Apache-2.0
// Answers about the LAN: each is a piece of the input, while two refreshes and a look by the standard ask.
#include "ipmi/IpmiIfc.h"
#include "ipmi/IpmiNodeControl.h"
#include "support/Fuzz.h"
#include "support/SimNode.h"

#include <arpa/inet.h>
#include <memory>

using namespace Ipmi;

namespace
{

/// An empty piece is silence; when there is no input any more, everything is.
class Answerer final : public Sim::Responder
{
public:
    explicit Answerer(Fuzz::Span input) : input_(input) {}

    Sim::Answer handle(const Sim::Request&) override
    {
        constexpr unsigned kMostCommands = 1000; // all sets of both kinds, and the rest
        Fuzz::demand(++commands_ < kMostCommands, "an end");
        const auto piece = Fuzz::nextPiece(input_);
        return {.answered = !piece.empty(), .bytes = {piece.begin(), piece.end()}};
    }

private:
    Ipmi::wire::Reader input_;
    unsigned commands_ = 0;
};

bool isAddress(int family, const std::string& text)
{
    unsigned char bytes[16];
    return inet_pton(family, text.c_str(), bytes) == 1;
}

void useTexts(const IpmiLan& lan, int before, int result)
{
    for (const std::string& text : {lan.getIPv4Address(), lan.getIPv4Netmask(), lan.getIPv4DefaultGateway()})
        Fuzz::demand(text.empty() || isAddress(AF_INET, text), "an IPv4 address");
    Fuzz::demand(lan.getMACAddress().empty() || lan.getMACAddress().size() == 17, "a MAC address");
    Fuzz::demand(!lan.isEnabled() || !lan.getIPv4Address().empty(), "an address where it is enabled");
    const auto texts = lan.getIPv6Addresses();
    Fuzz::demand(static_cast<int>(texts.size()) <= before + (result == 0 ? 1 : 0), "one text more at most");
    for (const std::string& text : texts)
        Fuzz::demand(text.size() == 23, "eight bytes");
}

void useStatus(const IpmiLanStatus& status)
{
    for (const auto& text : {status.ipv4.address, status.ipv4.netmask, status.ipv4.gateway})
        Fuzz::demand(!text || isAddress(AF_INET, *text), "an IPv4 address");
    Fuzz::demand(!status.channel || (*status.channel >= 1 && *status.channel <= 7), "a channel");
    Fuzz::demand(status.vlan.id.value_or(0) < 4096 && status.vlan.priority.value_or(0) < 8, "a VLAN");
    const auto addresses = status.ipv6.value_or(std::vector<IpmiLanStatus::Ipv6>{});
    Fuzz::demand(addresses.size() <= 510, "no more addresses than there are sets");
    for (const auto& one : addresses)
        Fuzz::demand(isAddress(AF_INET6, one.address) && one.address != "::", "an IPv6 address");
}

} // namespace

void Fuzz::use(Span input)
{
    Answerer bmc(input);
    Support::SimNode node(bmc);
    if (IpmiIfcOpenIpmiOpen(0) < 0 || IpmiIfcInitForCLI(0) != 0)
        return;
    IpmiLan& lan = *IpmiIfc::getLan();
    std::destroy_at(&lan); // as if nothing had been asked before
    std::construct_at(&lan);
    for (int i = 0; i < 2; ++i)
        useTexts(lan, i, lan.IpmiIfcLanInstantiate(0));
    useStatus(lan.status());
    IpmiIfcCloseForCLI(0);
}
