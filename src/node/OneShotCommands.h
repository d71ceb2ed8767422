// SPDX-License-Identifier: Apache-2.0
// The one-shot start-up commands.
#pragma once

#include "ipmi/IpmiRecords.h"
#include "wire/Commands.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi
{

struct OneShotCommand {
    bool enabled;
    int (*handler)(ipmiifc_resp* resp);
    wire::Command command;
    std::uint16_t length;
    std::array<std::uint8_t, 4> data;

    std::span<const std::uint8_t> request() const { return std::span(data).first(length); }
};

/// Their order in the list.
inline constexpr std::size_t kAskDeviceId = 0, kAskOsName = 1, kAskOsVersion = 2, kAskSelfTest = 3, kAskSdrInfo = 4,
                             kOneShotCount = 7;

extern const std::array<OneShotCommand, kOneShotCount> kOneShotCommands;

} // namespace Ipmi
