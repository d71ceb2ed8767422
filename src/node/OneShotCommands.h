// The one-shot start-up commands.
#pragma once

#include "ipmi/IpmiRecords.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

namespace Ipmi
{

inline constexpr std::uint8_t kGetSystemInfo = 0x59; ///< Get System Info Parameters

struct OneShotCommand {
    bool enabled;
    int (*handler)(ipmiifc_resp* resp);
    std::uint8_t netfn;
    std::uint8_t cmd;
    std::uint16_t length;
    std::array<std::uint8_t, 4> data;
    int flags;

    std::span<const std::uint8_t> request() const { return std::span(data).first(length); }
};

/// Their order in the list.
inline constexpr std::size_t kAskDeviceId = 0, kAskOsName = 1, kAskOsVersion = 2, kAskSelfTest = 3, kAskSdrInfo = 4,
                             kOneShotCount = 7;

extern const std::array<OneShotCommand, kOneShotCount> kOneShotCommands;

} // namespace Ipmi
