// SPDX-License-Identifier: Apache-2.0
// Questions about LAN channels, and texts of what they bring.
#pragma once

#include "transport/Answer.h"

#include <cstdint>
#include <span>
#include <string>

namespace Ipmi
{

inline constexpr std::uint32_t kFirstLanChannel = 1, kLastLanChannel = 7;

Answer askChannelInfo(int node, std::uint32_t channel);
/// Whether a good answer tells of a LAN channel.
bool isLan(const Answer& channelInfo);
/// One set of a parameter; its data begin at wire::lan_parameter::kData.
Answer askLanParameter(int node, std::uint32_t channel, std::uint8_t parameter, std::uint8_t set = 0);
/// `size` bytes of the parameter's data; empty when the answer has fewer.
std::span<const std::uint8_t> parameterData(const Answer& answer, std::size_t size);

/// "192.0.2.17", of 4 bytes.
std::string dottedText(std::span<const std::uint8_t> bytes);
/// "52:54:00:ab:cd:01", of however many bytes.
std::string colonText(std::span<const std::uint8_t> bytes);

} // namespace Ipmi
