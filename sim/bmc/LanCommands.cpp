// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: LAN configuration parameters, and access to channels.
#include "sim/bmc/BmcCommand.h"
#include "sim/machine/LanLayout.h"

#include <array>

namespace Sim
{

namespace
{

using namespace LanLayout;

constexpr std::uint8_t kRevision = 0x11, kChannelBits = 0x0f, kPresentChannel = 0x0e;

/// The sets of the parameter; null where the BMC has not got it.
std::vector<Bytes>* setsOf(BmcState& state, std::uint8_t number)
{
    auto& parameters = state.machine.lan->parameters;
    const auto found = parameters.find(number);
    return found == parameters.end() ? nullptr : &found->second;
}

/// Why there is no such LAN channel, or kOk.
std::uint8_t refusalOf(const BmcState& state, const Request& request)
{
    if (!state.machine.lan)
        return kInvalidCommand;
    return state.machine.isLan(request.data[0] & kChannelBits) ? kOk : kInvalidField;
}

Bytes getLanParameters(BmcState& state, const Request& request)
{
    if (const std::uint8_t refusal = refusalOf(state, request); refusal != kOk)
        return {refusal};
    const std::uint8_t number = request.data[1], set = request.data[2], block = request.data[3];
    const bool revisionOnly = (request.data[0] & 0x80) != 0;
    const Parameter* layout = find(number);
    const auto* sets = setsOf(state, number);
    if (layout == nullptr || sets == nullptr)
        return {kEmpty};
    if (revisionOnly)
        return {kOk, kRevision};
    if (number == kSetInProgress)
        return {kOk, kRevision, state.lanProgress};
    const std::size_t index = layout->selectors == Selectors::none ? 0 : set;
    if (index >= sets->size() || (layout->selectors == Selectors::setAndBlock && block != 0))
        return {kOutOfRange};
    Bytes answer{kOk, kRevision};
    if (layout->selectors != Selectors::none)
        answer.push_back(set);
    if (layout->selectors == Selectors::setAndBlock)
        answer.push_back(block);
    putBytes(answer, (*sets)[index]);
    return answer;
}

/// Values take effect at once: a commit changes nothing.
Bytes setProgress(BmcState& state, std::uint8_t wanted)
{
    constexpr std::uint8_t kComplete = 0, kInProgress = 1, kCommit = 2, kAlready = 0x81;
    if (wanted > kCommit)
        return {kInvalidField};
    if (wanted == kCommit)
        return {kOk};
    if (wanted == kInProgress && state.lanProgress != kComplete)
        return {kAlready};
    state.lanProgress = wanted;
    return {kOk};
}

Bytes setLanParameters(BmcState& state, const Request& request)
{
    if (const std::uint8_t refusal = refusalOf(state, request); refusal != kOk)
        return {refusal};
    const std::uint8_t number = request.data[1];
    const Parameter* layout = find(number);
    auto* sets = setsOf(state, number);
    if (layout == nullptr || sets == nullptr)
        return {kEmpty};
    if (layout->readOnly)
        return {kReadOnly};
    const std::size_t selectors = static_cast<std::size_t>(layout->selectors), begin = 2 + selectors;
    if (request.data.size() != begin + layout->size)
        return {kInvalidLength};
    if (number == kSetInProgress)
        return setProgress(state, request.data[begin]);
    const std::size_t index = selectors == 0 ? 0 : request.data[2];
    if (index >= sets->size() || (selectors > 1 && request.data[3] != 0))
        return {kOutOfRange};
    Bytes& data = (*sets)[index];
    data.assign(request.data.begin() + static_cast<std::ptrdiff_t>(begin), request.data.end());
    if (number == kIpv6Static) // its status is the BMC's to say
        data[Ipv6Set::kStatus] =
            (data[Ipv6Set::kSource] & Ipv6Set::kEnabled) != 0 ? Ipv6Set::kActive : Ipv6Set::kDisabled;
    return {kOk};
}

/// Bits 7 and 6 of the byte say which settings are meant: those that stay, or those until the next reset.
bool meansStored(std::uint8_t which)
{
    return which >> 6 == 1;
}

Bytes getChannelAccess(BmcState& state, const Request& request)
{
    constexpr std::array<std::uint8_t, 2> kNoSessions{0x0a, 0x00}; // always, no authentication by message
    const std::uint8_t asked = request.data[0] & kChannelBits, which = request.data[1];
    const std::uint8_t channel = asked == kPresentChannel ? kSystemChannel : asked;
    Bytes answer{kOk};
    if (state.machine.isLan(channel) && (which >> 6 == 1 || which >> 6 == 2))
        putBytes(answer,
                 meansStored(which) ? state.machine.lan->access : state.lanAccess.value_or(state.machine.lan->access));
    else if (channel == kSystemChannel)
        putBytes(answer, kNoSessions);
    else
        return {kInvalidField};
    return answer;
}

Bytes setChannelAccess(BmcState& state, const Request& request)
{
    if (!state.machine.isLan(request.data[0] & kChannelBits))
        return {kInvalidField};
    const auto change = [&state](std::uint8_t byte, std::size_t index, std::uint8_t bits) {
        if (byte >> 6 == 0)
            return; // unchanged
        auto present = state.lanAccess.value_or(state.machine.lan->access);
        auto& access = meansStored(byte) ? state.machine.lan->access : present;
        access[index] = byte & bits;
        if (!meansStored(byte))
            state.lanAccess = present;
    };
    change(request.data[1], 0, 0x3f);
    change(request.data[2], 1, 0x0f);
    return {kOk};
}

/// All in the first answers: IPMI 2.0, 22.15.1.
Bytes getChannelCipherSuites(BmcState& state, const Request& request)
{
    constexpr std::array<std::uint8_t, 10> kSuites{0xc0, 3, 0x01, 0x41, 0x81, 0xc0, 17, 0x03, 0x44, 0x81};
    const std::uint8_t asked = request.data[0] & kChannelBits, list = request.data[2] & 0x3f;
    if (asked != kPresentChannel && !state.machine.isLan(asked))
        return {kInvalidField};
    Bytes answer{kOk, asked};
    if (list == 0 && state.machine.isLan(asked))
        putBytes(answer, kSuites);
    return answer;
}

/// There is one user, without a name, who may do nothing.
Bytes getUserAccess(BmcState& state, const Request& request)
{
    constexpr std::uint8_t kOneDisabled = 0x80, kNoAccess = 0x0f;
    constexpr std::uint8_t kUserBits = 0x3f;
    if (!state.machine.isLan(request.data[0] & kChannelBits))
        return {kInvalidField};
    return (request.data[1] & kUserBits) == 1 ? Bytes{kOk, 1, kOneDisabled, 1, kNoAccess} : Bytes{kOutOfRange};
}

constexpr std::size_t kLongest = 32;

constexpr BmcCommand kLanCommands[] = {
    {kAppNetfn, 0x40, 3, 3, setChannelAccess},
    {kAppNetfn, 0x41, 2, 2, getChannelAccess},
    {kAppNetfn, 0x44, 2, 2, getUserAccess},
    {kAppNetfn, 0x54, 3, 3, getChannelCipherSuites},
    {kTransportNetfn, 0x01, 3, kLongest, setLanParameters},
    {kTransportNetfn, 0x02, 4, 4, getLanParameters},
};

} // namespace

std::span<const BmcCommand> lanCommands()
{
    return kLanCommands;
}

} // namespace Sim
