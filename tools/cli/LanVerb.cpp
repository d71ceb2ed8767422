// SPDX-License-Identifier: Apache-2.0
// lan: the BMC's own network settings.
#include "base/Failure.h"
#include "cli/Verbs.h"
#include "ipmi/IpmiIfc.h"
#include "node/NodeSession.h"
#include "terminal/Facts.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <fmt/format.h>
#include <optional>

namespace Tool
{

namespace
{

using Status = Ipmi::IpmiLanStatus;

// Codes of IPMI 2.0, table 23-4.
const Words kIpv4Sources{"unspecified", "static", "dhcp", "bios", "other"}, kIpv6Sources{"static", "slaac", "dhcpv6"},
    kIpv6States{"active", "disabled", "pending", "failed", "deprecated", "invalid"};

/// The code itself where there is no word for it.
std::string wordOf(unsigned code, const Words& words)
{
    return code < words.size() ? std::string(words[code]) : fmt::format("0x{:02x}", code);
}

std::string kindOf(const Status::Ipv6& one)
{
    return one.kind == Status::kStaticSet ? "static" : "dynamic";
}

template <typename Value> Json jsonOf(const std::optional<Value>& value)
{
    return value ? Json(*value) : Json(nullptr);
}

Json jsonOf(const std::optional<Status::Ipv4Source>& source)
{
    return source ? Json(wordOf(*source, kIpv4Sources)) : Json(nullptr);
}

Json jsonOf(const std::optional<std::vector<Status::Ipv6>>& addresses)
{
    if (!addresses)
        return nullptr;
    Json list = Json::array();
    for (const Status::Ipv6& one : *addresses)
        list.push_back({{"address", one.address},
                        {"prefix", one.prefix},
                        {"kind", kindOf(one)},
                        {"source", wordOf(one.source, kIpv6Sources)},
                        {"status", wordOf(one.status, kIpv6States)}});
    return list;
}

Json jsonOf(const Status& lan)
{
    const Json ipv4{{"address", jsonOf(lan.ipv4.address)},
                    {"netmask", jsonOf(lan.ipv4.netmask)},
                    {"gateway", jsonOf(lan.ipv4.gateway)},
                    {"gateway_mac", jsonOf(lan.ipv4.gatewayMac)},
                    {"source", jsonOf(lan.ipv4.source)}};
    const Json vlan{
        {"enabled", jsonOf(lan.vlan.enabled)}, {"id", jsonOf(lan.vlan.id)}, {"priority", jsonOf(lan.vlan.priority)}};
    const Json all{{"channel", jsonOf(lan.channel)},
                   {"enabled", jsonOf(lan.enabled)},
                   {"mac", jsonOf(lan.mac)},
                   {"ipv4", ipv4},
                   {"vlan", vlan},
                   {"ipv6", jsonOf(lan.ipv6)}};
    return {{"lan", all}};
}

template <typename Value> std::string textOf(const std::optional<Value>& value)
{
    return value ? fmt::format("{}", *value) : "";
}

std::string yesNo(const std::optional<bool>& value)
{
    return !value ? "" : *value ? "yes" : "no";
}

void addIpv6(Facts& facts, const Status& lan)
{
    facts.text("ipv6_enabled", yesNo(lan.ipv6Enabled));
    if (!lan.ipv6 || lan.ipv6->empty())
        facts.text("ipv6_address", lan.ipv6 ? "none" : "");
    else
        for (const Status::Ipv6& one : *lan.ipv6)
            facts.text("ipv6_address", fmt::format("{}/{}, {} ({}), {}", one.address, one.prefix, kindOf(one),
                                                   wordOf(one.source, kIpv6Sources), wordOf(one.status, kIpv6States)));
}

Facts factsOf(const Status& lan)
{
    Facts facts;
    facts.text("channel", textOf(lan.channel));
    facts.text("enabled", yesNo(lan.enabled));
    facts.text("mac", lan.mac.value_or(""));
    facts.text("ipv4_address", lan.ipv4.address.value_or(""));
    facts.text("ipv4_source", lan.ipv4.source ? wordOf(*lan.ipv4.source, kIpv4Sources) : "");
    facts.text("ipv4_netmask", lan.ipv4.netmask.value_or(""));
    facts.text("ipv4_gateway", lan.ipv4.gateway.value_or(""));
    facts.text("ipv4_gateway_mac", lan.ipv4.gatewayMac.value_or(""));
    facts.text("vlan", !lan.vlan.enabled ? "" : *lan.vlan.enabled ? "on" : "off");
    facts.text("vlan_id", textOf(lan.vlan.id));
    facts.text("vlan_priority", textOf(lan.vlan.priority));
    addIpv6(facts, lan);
    return facts;
}

} // namespace

int lanVerb(const Options& options)
{
    std::optional<Progress> progress(std::in_place, "Asking the BMC");
    const NodeSession session(options.node);
    session.requireBmc();
    const Status lan = Ipmi::IpmiIfc::getLan(options.node)->status();
    progress.reset();
    writeOut(options.json ? jsonDocument(jsonOf(lan)) : "LAN\n" + factsOf(lan).lines());
    if (!lan.whole)
        throw Failure("the BMC stopped answering or garbled an address: it may have more than is shown");
    return kExitFine;
}

} // namespace Tool
