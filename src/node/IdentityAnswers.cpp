// SPDX-License-Identifier: Apache-2.0
// Taking over the answers about who the BMC is.
#include "node/IdentityAnswers.h"

#include "base/Text.h"
#include "node/IpmiIfcIdentity.h"
#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"

#include <algorithm>

namespace Ipmi
{

namespace device_id = wire::device_id;

namespace
{

using Bytes = std::span<const std::uint8_t>;

/// The maker whose early firmware lists I/O module sensors that cannot be used.
constexpr unsigned int kFlaggedMaker = 47196;

/// What is to be said about an answer before anybody looks inside.
int judge(const ipmiifc_resp& resp)
{
    if (resp.datalen < 1)
        return -1;
    if (resp.cc != 0)
        return resp.cc;
    return isNode(resp.node) ? 0 : -1;
}

Bytes answerBytes(const ipmiifc_resp& resp)
{
    return {resp.data, static_cast<std::size_t>(std::clamp(resp.datalen, 0, kAnswerRoom))};
}

/// Keeps as much of the answer as there is room for; the rest is 0. @return bytes kept
template <std::size_t Room> std::size_t keepBytes(std::array<std::uint8_t, Room>& store, Bytes answer)
{
    const Bytes kept = answer.first(std::min(answer.size(), Room));
    store = {};
    std::ranges::copy(kept, store.begin());
    return kept.size();
}

/// The firmware facts that the building of node 0's sensors asks for.
void publishFirmware(Bytes answer)
{
    wire::Reader reader(answer);
    reader.skip(device_id::kFirmwareMajor);
    const unsigned int major = reader.u8() & 0x7f, minor = reader.u8();
    reader.skip(device_id::kManufacturer - device_id::kIpmiVersion);
    const unsigned int maker = reader.le24();
    if (!reader.ok())
        return;
    IpmiIfc::maj = static_cast<int>(major);
    IpmiIfc::min = static_cast<int>(minor);
    IpmiIfc::hpe_bmc = maker == kFlaggedMaker;
}

/// Takes what `reader` still has of a text, up to its length. @return false for nothing
bool takeText(SystemInfoText& text, wire::Reader& reader)
{
    const std::size_t missing = text.length - text.bytes.size();
    const Bytes more = reader.bytes(std::min(missing, reader.remaining()));
    text.bytes.insert(text.bytes.end(), more.begin(), more.end());
    return !more.empty();
}

/// The first block of a text: parameter revision, set selector, encoding, length of the whole text, and up to 14 bytes
/// of it. Nothing when the answer ends before the text.
std::optional<SystemInfoText> firstTextBlock(Bytes answer)
{
    constexpr std::size_t kBlockEnd = 19;
    wire::Reader reader(answer.first(std::min(answer.size(), kBlockEnd)));
    reader.skip(3);
    SystemInfoText text;
    text.encoding = reader.u8() & 0x0f;
    text.length = reader.u8();
    if (!reader.ok())
        return std::nullopt;
    takeText(text, reader);
    return text;
}

int keepText(const ipmiifc_resp& resp, std::optional<SystemInfoText>& store)
{
    if (const int result = judge(resp); result != 0)
        return result;
    auto text = firstTextBlock(answerBytes(resp));
    if (!text)
        return -1;
    store = std::move(text);
    return 0;
}

/// Hands an answer to `keep` for the node that it names.
int handle(const ipmiifc_resp* resp, KeepAnswer keep)
{
    if (const int result = resp ? judge(*resp) : -1; result != 0)
        return result;
    IpmiNode& self = g_IpmiNode[resp->node];
    TRX::MutexLock hold(self.bmcInfoLock);
    return keep(self.identity, *resp);
}

} // namespace

std::atomic<int> IpmiIfc::maj{0};
std::atomic<int> IpmiIfc::min{0};
std::atomic<bool> IpmiIfc::hpe_bmc{false};

int keepDeviceId(BmcIdentity& identity, const ipmiifc_resp& resp)
{
    if (const int result = judge(resp); result != 0)
        return result;
    const Bytes answer = answerBytes(resp);
    identity.deviceIdLength = keepBytes(identity.deviceId, answer);
    if (resp.node == 0)
        publishFirmware(answer);
    return 0;
}

int keepOsName(BmcIdentity& identity, const ipmiifc_resp& resp)
{
    return keepText(resp, identity.osName);
}

int keepOsVersion(BmcIdentity& identity, const ipmiifc_resp& resp)
{
    return keepText(resp, identity.osVersion);
}

bool addTextBlock(SystemInfoText& text, const ipmiifc_resp& resp)
{
    if (judge(resp) != 0)
        return false;
    wire::Reader reader(answerBytes(resp));
    reader.skip(3); // completion code, parameter revision, set selector
    return reader.ok() && takeText(text, reader);
}

std::string textOf(const SystemInfoText& text)
{
    constexpr std::uint8_t kUtf8 = 1, kUtf16 = 2;
    return TRX::trimmed(text.encoding == kUtf8    ? TRX::textFromUtf8(text.bytes)
                        : text.encoding == kUtf16 ? TRX::textFromUtf16(text.bytes)
                                                  : TRX::textFromLatin1(text.bytes));
}

int keepSelfTest(BmcIdentity& identity, const ipmiifc_resp& resp)
{
    if (const int result = judge(resp); result != 0)
        return result;
    identity.selfTestLength = keepBytes(identity.selfTest, answerBytes(resp));
    return 0;
}

int IpmiIfcRhGetDeviceId(ipmiifc_resp* resp)
{
    return handle(resp, keepDeviceId);
}

int IpmiIfcRhGetOS_Name(ipmiifc_resp* resp)
{
    return handle(resp, keepOsName);
}

int IpmiIfcRhGetOS_Version(ipmiifc_resp* resp)
{
    return handle(resp, keepOsVersion);
}

int IpmiIfcRhGetSelfTest(ipmiifc_resp* resp)
{
    return handle(resp, keepSelfTest);
}

} // namespace Ipmi
