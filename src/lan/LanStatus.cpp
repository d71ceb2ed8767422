// SPDX-License-Identifier: Apache-2.0
// The LAN settings by the standard: IPMI 2.0, table 23-4.
#include "ipmi/IpmiLan.h"
#include "lan/LanCommands.h"
#include "lan/LanData.h"
#include "node/IpmiNode.h"
#include "wire/AnswerLayout.h"
#include "wire/Bits.h"

#include <algorithm>
#include <arpa/inet.h>

namespace Ipmi
{

namespace
{

using namespace wire::lan_parameter;
using wire::bit;
using wire::bits;

/// The BMC has no such set, or does not know the parameter.
bool isNotThere(int code)
{
    using namespace wire::cc;
    return code == kParameterNotSupported || code == kOutOfRange || code == kInvalidCommand;
}

/// Asks for each thing once, and for nothing more after a silence.
class StatusReader
{
public:
    /// @param channel  the LAN channel, where it is known
    StatusReader(int node, std::optional<std::uint32_t> channel) : node_(node), channel_(channel) {}

    IpmiLanStatus read();
    /// The LAN channel, where one says that it is.
    std::optional<std::uint32_t> channel() const { return channel_; }

private:
    using Data = std::span<const std::uint8_t>;

    void findChannel();
    Answer ask(std::uint8_t parameter, std::uint8_t set = 0);
    std::optional<std::string> text(std::uint8_t parameter, std::size_t size, std::string (*toText)(Data));
    std::optional<std::uint8_t> byte(std::uint8_t parameter);
    void readIpv4();
    void readVlan();
    void readIpv6();
    bool readSets(std::uint8_t parameter, std::size_t count, IpmiLanStatus::Ipv6Kind kind);
    void addAddress(Data set, IpmiLanStatus::Ipv6Kind kind);

    const int node_;
    std::optional<std::uint32_t> channel_;
    IpmiLanStatus status_;
    std::vector<IpmiLanStatus::Ipv6> addresses_;
    bool silent_ = false;  ///< a question got no answer
    bool heard_ = false;   ///< the channel has said something
    bool garbled_ = false; ///< an IPv6 address, or how many there are, came as nonsense
};

IpmiLanStatus StatusReader::read()
{
    if (!channel_)
        findChannel();
    readIpv4();
    readVlan();
    readIpv6();
    if (channel_ || heard_)
        status_.channel = wire::lowByte(channel_.value_or(kFirstLanChannel));
    status_.whole = !silent_ && !garbled_;
    return status_;
}

void StatusReader::findChannel()
{
    for (std::uint32_t channel = kFirstLanChannel; channel <= kLastLanChannel && !channel_ && !silent_; ++channel) {
        const Answer answer = askChannelInfo(node_, channel);
        silent_ = !answer.answered();
        if (isLan(answer))
            channel_ = channel;
    }
}

Answer StatusReader::ask(std::uint8_t parameter, std::uint8_t set)
{
    if (silent_)
        return {};
    const Answer answer = askLanParameter(node_, channel_.value_or(kFirstLanChannel), parameter, set);
    silent_ = !answer.answered();
    heard_ = heard_ || answer.good(kData + 1);
    return answer;
}

std::optional<std::string> StatusReader::text(std::uint8_t parameter, std::size_t size, std::string (*toText)(Data))
{
    const Answer answer = ask(parameter);
    return answer.good(kData + size) ? std::optional(toText(parameterData(answer, size))) : std::nullopt;
}

std::optional<std::uint8_t> StatusReader::byte(std::uint8_t parameter)
{
    const Answer answer = ask(parameter);
    return answer.good(kData + 1) ? std::optional(answer.at(kData)) : std::nullopt;
}

void StatusReader::readIpv4()
{
    IpmiLanStatus::Ipv4& ipv4 = status_.ipv4;
    ipv4.address = text(kAddress, 4, dottedText);
    if (!silent_)
        status_.enabled = ipv4.address.has_value();
    if (const auto source = byte(kSource))
        ipv4.source = static_cast<IpmiLanStatus::Ipv4Source>(bits(*source, 3, 0));
    status_.mac = text(kMac, 6, colonText);
    ipv4.netmask = text(kNetmask, 4, dottedText);
    ipv4.gateway = text(kGateway, 4, dottedText);
    ipv4.gatewayMac = text(kGatewayMac, 6, colonText);
}

void StatusReader::readVlan()
{
    constexpr unsigned int kIdBits = 0xfff, kEnabledBit = 15;
    if (const Answer answer = ask(kVlanId); answer.good(kData + 2)) {
        status_.vlan.enabled = bit(answer.le16(kData), kEnabledBit);
        status_.vlan.id = static_cast<std::uint16_t>(answer.le16(kData) & kIdBits);
    }
    if (const auto priority = byte(kVlanPriority))
        status_.vlan.priority = wire::lowByte(bits(*priority, 2, 0));
}

/// A BMC that does not say how many addresses it has room for may have the first of each kind all the same.
void StatusReader::readIpv6()
{
    constexpr std::uint8_t kDisabled = 0;
    const auto support = byte(kIpv6Support);
    if (const auto enables = byte(kIpv6Enables))
        status_.ipv6Enabled = *enables != kDisabled;
    if (support && bits(*support, 1, 0) == 0) {
        status_.ipv6.emplace(); // it has no IPv6
        return;
    }
    const Answer counts = ask(kIpv6Status);
    const bool counted = counts.good(kData + 2);
    garbled_ = !counted && !isNotThere(counts.code());
    const std::size_t fixed = counted ? counts.at(kData) : 1, dynamic = counted ? counts.at(kData + 1) : 1;
    bool known = counted && fixed == 0 && dynamic == 0;
    known |= readSets(kIpv6Static, fixed, IpmiLanStatus::kStaticSet);
    known |= readSets(kIpv6Dynamic, dynamic, IpmiLanStatus::kDynamicSet);
    if (known)
        status_.ipv6 = std::move(addresses_);
}

/// A damaged set, or one that is not the one asked for, costs that set; a silence, and a set that there is not, end it.
/// @return whether a set could be read
bool StatusReader::readSets(std::uint8_t parameter, std::size_t count, IpmiLanStatus::Ipv6Kind kind)
{
    bool any = false;
    for (std::size_t set = 0; set < count && !silent_; ++set) {
        const Answer answer = ask(parameter, wire::lowByte(static_cast<unsigned int>(set)));
        if (isNotThere(answer.code()))
            break;
        if (!answer.good(kData + wire::ipv6_set::kSize) || answer.at(kData) != set) {
            garbled_ = true;
            continue;
        }
        any = true;
        addAddress(parameterData(answer, wire::ipv6_set::kSize), kind);
    }
    return any;
}

void StatusReader::addAddress(Data set, IpmiLanStatus::Ipv6Kind kind)
{
    namespace at = wire::ipv6_set;
    const Data address = set.subspan(at::kAddress, at::kAddressSize);
    if (std::all_of(address.begin(), address.end(), [](std::uint8_t byte) { return byte == 0; }))
        return;
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(AF_INET6, address.data(), text, sizeof text);
    addresses_.push_back({text, set[at::kPrefix], kind,
                          static_cast<IpmiLanStatus::Ipv6Source>(bits(set[at::kSource], 3, 0)),
                          static_cast<IpmiLanStatus::Ipv6State>(set[at::kState])});
}

int nodeOf(const IpmiLan* lan)
{
    for (int node = 0; node < kNodeCount; ++node)
        if (&g_IpmiNode[node].lan == lan)
            return node;
    return -1; // where nothing is answered
}

} // namespace

IpmiLanStatus IpmiLan::status()
{
    TRX::MutexLock hold(data_->refreshLock);
    StatusReader reader(nodeOf(this), data_->lanChannel);
    IpmiLanStatus result = reader.read();
    data_->lanChannel = reader.channel();
    return result;
}

} // namespace Ipmi
