// SPDX-License-Identifier: Apache-2.0
// LAN configuration parameters from their description.
#include "sim/machine/LanFile.h"

#include "sim/machine/LanLayout.h"

#include <algorithm>
#include <arpa/inet.h>

namespace Sim
{

namespace
{

using namespace LanLayout;

constexpr std::size_t kMostAddresses = 255;
constexpr Name kSourceNames[] = {{"unspecified", 0}, {"static", 1}, {"dhcp", 2}, {"bios", 3}, {"other", 4}};
constexpr Name kKindNames[] = {{"static", kIpv6Static}, {"dynamic", kIpv6Dynamic}};
constexpr Name kIpv6SourceNames[] = {{"static", 0}, {"slaac", 1}, {"dhcpv6", 2}};
constexpr Name kStatusNames[] = {{"active", 0}, {"disabled", 1},   {"pending", 2},
                                 {"failed", 3}, {"deprecated", 4}, {"invalid", 5}};
constexpr Name kMediumNames[] = {{"802.3", 4}, {"other", 6}};

/// An address in text, IPv4 or IPv6; the fallback where the field is not there.
Bytes address(JsonObject& json, const char* name, int family, const char* fallback)
{
    Bytes bytes(family == AF_INET ? 4 : 16);
    if (::inet_pton(family, json.text(name, fallback).c_str(), bytes.data()) != 1)
        json.fail(name, family == AF_INET ? "must be an IPv4 address" : "must be an IPv6 address");
    return bytes;
}

Bytes mac(JsonObject& json, const char* name)
{
    constexpr std::size_t kSize = 6;
    std::string text = json.text(name, "00:00:00:00:00:00");
    std::replace(text.begin(), text.end(), ':', ' ');
    const auto bytes = parseHex(text);
    if (!bytes || bytes->size() != kSize)
        json.fail(name, "must be a MAC address, like \"02:00:5e:00:53:01\"");
    return *bytes;
}

std::uint8_t small(JsonObject& json, const char* name, std::int64_t most, std::int64_t fallback = 0)
{
    return static_cast<std::uint8_t>(json.integer(name, 0, most, fallback));
}

/// What a BMC has that nobody has configured: zeros, and one set of each, but for these.
void setDefaults(LanChannel& lan)
{
    static const std::map<std::uint8_t, Bytes> kData{
        {kAuthenticationSupport, {0x14}}, // MD5, password
        {kAuthenticationEnables, {0x14, 0x14, 0x14, 0x14, 0x00}},
        {kHeader, {0x40, 0x40, 0x10}},  // time to live 64, do not fragment, minimum delay
        {kPrimaryPort, {0x6f, 0x02}},   // 623
        {kSecondaryPort, {0x98, 0x02}}, // 664
        {kArpControl, {0x02}},          // it answers ARP requests
        {kArpInterval, {0x03}},         // of half a second
        {kDestinations, {0x01}},
        {kCipherSuiteCount, {0x02}},
        {kCipherPrivileges, {0x00, 0x44, 0, 0, 0, 0, 0, 0, 0}}, // administrator
        {kIpv6Support, {0x03}},                                 // alone, and beside IPv4
        {kIpv6Enables, {0x02}},                                 // both
        {kIpv6HopLimit, {0x40}},
        {kStaticDuidBlocks, {0x01}},
        {kDynamicDuidBlocks, {0x01}},
        {kRouterControl, {0x02}}, // by router advertisements
    };
    for (const Parameter& parameter : kParameters)
        lan.parameters[parameter.number] = {Bytes(parameter.size)};
    for (const auto& [number, data] : kData)
        lan.parameters[number] = {data};
    for (const std::uint8_t number : {kDestinationType, kDestinationAddress, kDestinationVlan})
        lan.parameters[number].push_back(lan.parameters[number].front()); // the volatile one, and another
    lan.parameters[kCipherSuites].front()[1] = 3;
    lan.parameters[kCipherSuites].front()[2] = 17;
}

void parseIpv4(JsonObject& json, LanChannel& lan)
{
    const auto set = [&lan](std::uint8_t number, Bytes data) { lan.parameters[number] = {std::move(data)}; };
    set(kMac, mac(json, "mac"));
    set(kAddress, address(json, "address", AF_INET, "0.0.0.0"));
    set(kSource, {json.named("source", kSourceNames, 1, 15)});
    set(kNetmask, address(json, "netmask", AF_INET, "0.0.0.0"));
    set(kGateway, address(json, "gateway", AF_INET, "0.0.0.0"));
    set(kGatewayMac, mac(json, "gateway_mac"));
    set(kBackupGateway, address(json, "backup_gateway", AF_INET, "0.0.0.0"));
    set(kBackupGatewayMac, mac(json, "backup_gateway_mac"));
    const std::string community = json.text("community", "public");
    Bytes& text = lan.parameters[kCommunity].front();
    if (community.size() > text.size())
        json.fail("community", "has more than 18 characters");
    std::copy(community.begin(), community.end(), text.begin());
}

void parseVlan(JsonObject json, LanChannel& lan)
{
    const auto id = json.integer("id", 0, 0xfff);
    const int enabled = json.flag("enabled", true) ? 0x80 : 0;
    lan.parameters[kVlanId] = {{static_cast<std::uint8_t>(id), static_cast<std::uint8_t>(id >> 8 | enabled)}};
    lan.parameters[kVlanPriority] = {{small(json, "priority", 7)}};
    json.finish();
}

void parseIpv6(JsonObject& json, LanChannel& lan)
{
    lan.parameters[kIpv6Static].clear();
    lan.parameters[kIpv6Dynamic].clear();
    for (JsonObject& one : json.objects("ipv6", kMostAddresses)) {
        const std::uint8_t kind = one.named("kind", kKindNames, kIpv6Static), source = kind == kIpv6Static ? 0 : 1;
        const std::uint8_t status = one.named("status", kStatusNames, 0),
                           usual = status == Ipv6Set::kDisabled ? 0 : 0x80;
        Bytes set{static_cast<std::uint8_t>(one.named("source", kIpv6SourceNames, source, 15) |
                                            (kind == kIpv6Static ? usual : 0))};
        putBytes(set, address(one, "address", AF_INET6, ""));
        putBytes(set, Bytes{small(one, "prefix", 255, 64), status});
        lan.parameters[kind].push_back(std::move(set));
        one.finish();
    }
    const auto pad = [&](std::uint8_t kind, const char* name) {
        auto& sets = lan.parameters[kind];
        const auto given = static_cast<std::int64_t>(sets.size());
        Bytes unused(find(kind)->size);
        unused[Ipv6Set::kStatus] = Ipv6Set::kDisabled;
        sets.resize(static_cast<std::size_t>(json.integer(name, given, 255, std::max<std::int64_t>(given, 1))), unused);
        return static_cast<std::uint8_t>(sets.size());
    };
    constexpr std::uint8_t kSlaacAndDhcp = 0x03;
    const std::uint8_t fixed = pad(kIpv6Static, "ipv6_static_sets"), dynamic = pad(kIpv6Dynamic, "ipv6_dynamic_sets");
    lan.parameters[kIpv6Status] = {{fixed, dynamic, kSlaacAndDhcp}};
}

void dropUnsupported(JsonObject& json, LanChannel& lan)
{
    for (const auto& [element, place] : json.elements("unsupported", 256)) {
        if (!element->is_number_unsigned() || lan.parameters.erase(static_cast<std::uint8_t>(
                                                  std::min<std::uint64_t>(element->get<std::uint64_t>(), 255))) == 0)
            throw BadFile(place + ": must be the number of a parameter that there is");
    }
}

} // namespace

void parseLan(JsonObject& json, Machine& machine)
{
    if (!json.has("lan"))
        return;
    JsonObject object = json.object("lan");
    LanChannel lan;
    lan.channel = static_cast<std::uint8_t>(object.integer("channel", 1, 11, 1));
    if (machine.isIpmb(lan.channel))
        object.fail("channel", "is an IPMB: a satellite is there");
    lan.medium = object.named("medium", kMediumNames, 4, 0x7f);
    setDefaults(lan);
    parseIpv4(object, lan);
    if (object.has("vlan"))
        parseVlan(object.object("vlan"), lan);
    parseIpv6(object, lan);
    dropUnsupported(object, lan);
    object.finish();
    machine.lan = std::move(lan);
}

} // namespace Sim
