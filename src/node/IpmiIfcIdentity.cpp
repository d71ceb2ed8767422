// SPDX-License-Identifier: Apache-2.0
// Identity members of the caller-facing interface.
#include "node/IpmiIfcIdentity.h"

#include "node/IdentityAnswers.h"
#include "node/OneShotCommands.h"
#include "transport/Answer.h"
#include "wire/AnswerLayout.h"

#include <cstdio>

namespace Ipmi
{

namespace device_id = wire::device_id;
namespace self_test = wire::self_test;

namespace
{

/// Asks the node again for one of its identity answers.
void askAgain(int node, std::size_t command, KeepAnswer keep, BmcIdentity& identity)
{
    const OneShotCommand& one = kOneShotCommands[command];
    const Answer answer = ask(node, one.command, one.request());
    if (answer.answered())
        keep(identity, answer.reply(node));
}

/// The Get Device ID answer, asked for where fewer than `need` bytes of it are known; nothing when that does not help.
std::optional<std::array<std::uint8_t, wire::device_id::kSize>> deviceId(int node, std::size_t need)
{
    if (!isNode(node))
        return std::nullopt;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.bmcInfoLock);
    if (self.identity.deviceIdLength < need)
        askAgain(node, kAskDeviceId, keepDeviceId, self.identity);
    if (self.identity.deviceIdLength < need)
        return std::nullopt;
    return self.identity.deviceId;
}

/// One byte of it, or result 4 and 0.
int deviceIdByte(int node, std::size_t index, unsigned char mask, unsigned char& value)
{
    const auto answer = deviceId(node, index + 1);
    value = answer ? (*answer)[index] & mask : 0;
    return answer ? 0 : IpmiIfc::IPMI_RESULT_NO_RESPONSE;
}

/// Asks for the blocks after the first; what cannot be had is not asked for again.
void completeText(int node, std::uint8_t parameter, SystemInfoText& text)
{
    for (std::uint8_t set = 1; text.bytes.size() < text.length; ++set) {
        const std::uint8_t request[] = {0, parameter, set, 0};
        const Answer answer = ask(node, wire::kGetSystemInfo, request);
        if (!addTextBlock(text, answer.reply(node)))
            text.length = static_cast<std::uint8_t>(text.bytes.size());
    }
}

std::string systemInfo(int node, std::optional<SystemInfoText> BmcIdentity::*field, std::size_t command,
                       KeepAnswer keep)
{
    if (!isNode(node))
        return {};
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.bmcInfoLock);
    std::optional<SystemInfoText>& text = self.identity.*field;
    if (!text)
        askAgain(node, command, keep, self.identity);
    if (!text)
        return {};
    completeText(node, kOneShotCommands[command].data[1], *text);
    return textOf(*text);
}

template <typename... Arguments> std::string formatted(const char* format, Arguments... arguments)
{
    char text[32];
    std::snprintf(text, sizeof text, format, arguments...);
    return text;
}

} // namespace

int IpmiIfc::getManufacturerId(int node, unsigned char* id, unsigned char& length)
{
    length = 0;
    if (!id)
        return IPMI_RESULT_BAD_ARGUMENT;
    const auto answer = deviceId(node, device_id::kProduct);
    if (!answer)
        return IPMI_RESULT_NO_RESPONSE;
    length = device_id::kProduct - device_id::kManufacturer;
    std::copy_n(answer->begin() + device_id::kManufacturer, length, id);
    return 0;
}

std::string IpmiIfc::getManufacturerName(int node)
{
    unsigned char id[3], length;
    if (getManufacturerId(node, id, length) != 0)
        return {};
    const auto enterprise = le24(id);
    const char* name = manufacturerName(enterprise);
    return name ? name : formatted("Unknown (0x%06x)", enterprise);
}

int IpmiIfc::getProductId(int node, unsigned short& id)
{
    const auto answer = deviceId(node, device_id::kAuxiliary);
    id = answer ? le16(&(*answer)[device_id::kProduct]) : std::uint16_t{0};
    return answer ? 0 : IPMI_RESULT_NO_RESPONSE;
}

int IpmiIfc::getDeviceId(int node, unsigned char& id)
{
    return deviceIdByte(node, device_id::kDevice, 0xff, id);
}

int IpmiIfc::getDeviceRevision(int node, unsigned char& revision)
{
    return deviceIdByte(node, device_id::kRevision, 0x0f, revision);
}

std::string IpmiIfc::getFirmwareVersion(int node)
{
    const auto answer = deviceId(node, device_id::kIpmiVersion);
    return answer
               ? formatted("%d.%02x", (*answer)[device_id::kFirmwareMajor] & 0x7f, (*answer)[device_id::kFirmwareMinor])
               : std::string();
}

std::string IpmiIfc::getIpmiVersion(int node)
{
    unsigned char version; // BCD, the lesser digit in the upper half
    return deviceIdByte(node, device_id::kIpmiVersion, 0xff, version) == 0
               ? formatted("%x.%x", version & 0x0f, version >> 4)
               : std::string();
}

std::string IpmiIfc::getHostOsName(int node)
{
    return systemInfo(node, &BmcIdentity::osName, kAskOsName, keepOsName);
}

std::string IpmiIfc::getHostOsVersion(int node)
{
    return systemInfo(node, &BmcIdentity::osVersion, kAskOsVersion, keepOsVersion);
}

int IpmiIfc::getSelfTest(int node, unsigned short& code)
{
    code = 0;
    if (!isNode(node))
        return IPMI_RESULT_NO_RESPONSE;
    IpmiNode& self = g_IpmiNode[node];
    TRX::MutexLock hold(self.bmcInfoLock);
    if (self.identity.selfTestLength < self_test::kSize)
        askAgain(node, kAskSelfTest, keepSelfTest, self.identity);
    if (self.identity.selfTestLength < self_test::kSize)
        return IPMI_RESULT_NO_RESPONSE;
    code = le16(self.identity.selfTest[self_test::kDetail], self.identity.selfTest[self_test::kResult]);
    return 0;
}

} // namespace Ipmi
