// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0: device global commands, channels and system information.
#include "sim/bmc/BmcCommand.h"

#include <algorithm>
#include <array>

namespace Sim
{

namespace
{

const Identity& identityOf(const BmcState& state, const Request& request)
{
    static const Identity kPlainController{.deviceId = 0, .supports = 0x81};
    if (request.address == kBmcAddress)
        return state.machine.identity;
    const auto found = state.machine.controllers.find(request.address);
    return found == state.machine.controllers.end() ? kPlainController : found->second.identity;
}

Bytes getDeviceId(BmcState& state, const Request& request)
{
    Bytes answer{kOk};
    putBytes(answer, identityOf(state, request).deviceIdAnswer());
    return answer;
}

Bytes getSelfTestResults(BmcState& state, const Request& request)
{
    Bytes answer{kOk};
    putBytes(answer, identityOf(state, request).selfTest);
    return answer;
}

Bytes getGuid(BmcState& state, const Request&)
{
    Bytes answer{kOk};
    putBytes(answer, state.machine.identity.guid);
    return answer;
}

Bytes getChannelInfo(BmcState& state, const Request& request)
{
    constexpr std::uint8_t kPresentChannel = 0x0e;
    constexpr std::array<std::uint8_t, 3> kIpmb{0x01, 0x01, 0x00}, kKcs{0x0c, 0x05, 0x00}; // medium, protocol, sessions
    constexpr std::uint8_t kIpmb10 = 0x01, kMultiSession = 0x80;
    constexpr std::array<std::uint8_t, 3> kIpmiForum{0xf2, 0x1b, 0x00};
    const std::uint8_t asked = request.data[0] & 0x0f;
    const std::uint8_t channel = asked == kPresentChannel ? kSystemChannel : asked;
    const bool system = channel == kSystemChannel, lan = state.machine.isLan(channel);
    if (!system && !lan && !state.machine.isIpmb(channel))
        return {kInvalidField}; // FreeIPMI's bmc-info prints noise for channels that are refused; the noise is its own
    Bytes answer{kOk, channel};
    putBytes(answer, lan ? std::array{state.machine.lan->medium, kIpmb10, kMultiSession} : system ? kKcs : kIpmb);
    putBytes(answer, kIpmiForum);
    putWord(answer, system ? 0xffff : 0); // of the system interface: no interrupts
    return answer;
}

namespace SystemInfo
{
constexpr std::uint8_t kProgress = 0, kFirmwareVersion = 1, kLast = 5, kRevision = 0x11;
constexpr std::size_t kBlock = 16, kTextHeader = 2, kMaxText = 255, kBlocks = (kTextHeader + kMaxText) / kBlock + 1;
} // namespace SystemInfo

/// All blocks of a text parameter: encoding, length, text, padded with zeros. Empty: not there.
Bytes systemInfoBlocks(const BmcState& state, std::uint8_t parameter)
{
    using namespace SystemInfo;
    if (const auto written = state.systemInfo.find(parameter); written != state.systemInfo.end())
        return written->second;
    const Machine& machine = state.machine;
    const std::array<const std::string*, kLast + 1> texts{
        nullptr,         &machine.systemFirmware, &machine.systemName, &machine.primaryOsName,
        &machine.osName, &machine.osVersion};
    const std::string text = texts[parameter]->substr(0, kMaxText);
    if (text.empty())
        return {};
    Bytes blocks{0, static_cast<std::uint8_t>(text.size())}; // encoding 0: ASCII and Latin 1
    putBytes(blocks, text);
    blocks.resize((blocks.size() + kBlock - 1) / kBlock * kBlock);
    return blocks;
}

Bytes getSystemInfo(BmcState& state, const Request& request)
{
    using namespace SystemInfo;
    const bool revisionOnly = (request.data[0] & 0x80) != 0;
    const std::uint8_t parameter = request.data[1], set = request.data[2];
    if (parameter > kLast)
        return {kEmpty};
    if (revisionOnly)
        return {kOk, kRevision};
    if (parameter == kProgress)
        return {kOk, kRevision, state.systemInfoProgress};
    const Bytes blocks = systemInfoBlocks(state, parameter);
    if (blocks.empty())
        return {kEmpty};
    if (set * kBlock >= blocks.size())
        return {kOutOfRange};
    Bytes answer{kOk, kRevision, set};
    const auto block = blocks.begin() + static_cast<std::ptrdiff_t>(set * kBlock);
    answer.insert(answer.end(), block, block + kBlock);
    return answer;
}

Bytes setSystemInfo(BmcState& state, const Request& request)
{
    using namespace SystemInfo;
    const std::uint8_t parameter = request.data[0];
    if (parameter > kLast)
        return {kEmpty};
    if (parameter == kFirmwareVersion)
        return {kReadOnly};
    if (parameter == kProgress) {
        if (request.data.size() != 2)
            return {kInvalidLength};
        state.systemInfoProgress = request.data[1] & 3;
        return {kOk};
    }
    if (request.data.size() < 3)
        return {kInvalidLength};
    const std::size_t set = request.data[1];
    if (set >= kBlocks)
        return {kOutOfRange};
    Bytes& blocks = state.systemInfo.try_emplace(parameter, systemInfoBlocks(state, parameter)).first->second;
    if (set == 0)
        blocks.clear(); // the first block starts a new text
    blocks.resize(std::max(blocks.size(), (set + 1) * kBlock));
    std::copy(request.data.begin() + 2, request.data.end(), blocks.begin() + static_cast<std::ptrdiff_t>(set * kBlock));
    return {kOk};
}

Bytes getChassisCapabilities(BmcState&, const Request&)
{
    return {kOk, 0x00, kBmcAddress, kBmcAddress, kBmcAddress, kBmcAddress};
}

Bytes getChassisStatus(BmcState&, const Request&)
{
    return {kOk, 0x01, 0x00, 0x00}; // power is on, nothing is wrong
}

constexpr BmcCommand kAppCommands[] = {
    {kAppNetfn, 0x01, 0, 0, getDeviceId, true}, {kAppNetfn, 0x04, 0, 0, getSelfTestResults, true},
    {kAppNetfn, 0x08, 0, 0, getGuid},           {kAppNetfn, 0x37, 0, 0, getGuid},
    {kAppNetfn, 0x42, 1, 1, getChannelInfo},    {kAppNetfn, 0x58, 2, 18, setSystemInfo},
    {kAppNetfn, 0x59, 4, 4, getSystemInfo},
};

constexpr BmcCommand kChassisCommands[] = {
    {kChassisNetfn, 0x00, 0, 0, getChassisCapabilities},
    {kChassisNetfn, 0x01, 0, 0, getChassisStatus},
};

} // namespace

std::span<const BmcCommand> appCommands()
{
    return kAppCommands;
}

std::span<const BmcCommand> chassisCommands()
{
    return kChassisCommands;
}

} // namespace Sim
