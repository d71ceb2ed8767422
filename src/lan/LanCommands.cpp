// SPDX-License-Identifier: Apache-2.0
// Sending the questions, and writing addresses.
#include "lan/LanCommands.h"

#include "wire/AnswerLayout.h"
#include "wire/Cursor.h"

#include <algorithm>
#include <cstdio>

namespace Ipmi
{

Answer askChannelInfo(int node, std::uint32_t channel)
{
    return ask(node, wire::kGetChannelInfo, wire::Writer().u8(channel));
}

bool isLan(const Answer& channelInfo)
{
    using namespace wire::channel_info;
    const std::uint8_t medium = channelInfo.at(kMedium) & kMediumBits;
    return channelInfo.good(kMedium + 1) && (medium == kLan || medium == kOtherLan);
}

Answer askLanParameter(int node, std::uint32_t channel, std::uint8_t parameter, std::uint8_t set)
{
    constexpr unsigned int kFirstBlock = 0;
    return ask(node, wire::kGetLanParameters, wire::Writer().u8(channel).u8(parameter).u8(set).u8(kFirstBlock));
}

std::span<const std::uint8_t> parameterData(const Answer& answer, std::size_t size)
{
    constexpr std::size_t kAt = wire::lan_parameter::kData;
    const auto bytes = answer.bytes();
    return bytes.size() < kAt + size ? std::span<const std::uint8_t>{} : bytes.subspan(kAt, size);
}

std::string dottedText(std::span<const std::uint8_t> bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes)
        text += (text.empty() ? "" : ".") + std::to_string(byte);
    return text;
}

std::string colonText(std::span<const std::uint8_t> bytes)
{
    std::string text;
    for (const std::uint8_t byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, text.empty() ? "%02x" : ":%02x", byte);
        text += digits;
    }
    return text;
}

} // namespace Ipmi
