// SPDX-License-Identifier: Apache-2.0
// A FRU inventory device: what is in it, and how it behaves when it is read and written.
#pragma once

#include "sim/bus/CompletionCode.h"
#include "sim/bus/Message.h"

#include <compare>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

namespace Sim
{

/// A FRU device's address: its controller and that one's LUN, and the device id there. An id alone is the BMC's.
struct FruKey {
    FruKey(std::uint8_t deviceId, std::uint8_t controller = kBmcAddress, std::uint8_t atLun = 0)
        : address(controller), lun(atLun), device(deviceId)
    {
    }

    std::uint8_t address;
    std::uint8_t lun;
    std::uint8_t device;
    auto operator<=>(const FruKey&) const = default;
};

/// How offsets and counts are meant: IPMI 2.0, 34.1 to 34.3.
enum class FruAccess : std::uint8_t {
    bytes = 0,
    words = 1,
    wordsAtBytes = 2, ///< counts words but is told byte offsets, for programs that mix both
};

/// What one Read FRU Data may ask for, by itself and of an IPMB, whose messages have 32 bytes.
inline constexpr std::size_t kMostFruBytes = 255, kMostFruBytesOnIpmb = 23, kLargestFru = 0xffff;

struct FruDevice {
    FruDevice() = default;
    FruDevice(Bytes content) : image(std::move(content)) {}

    Bytes image;
    FruAccess access = FruAccess::bytes;
    std::optional<std::uint16_t> claimedSize{}; ///< what it says to have, when that is not what it has
    std::size_t readLimit = kMostFruBytes;      ///< bytes of one Read FRU Data
    std::uint8_t refusal = kTooManyBytes;       ///< completion code where more is asked for
    std::uint64_t busyFor = 0;                  ///< so many reads and writes find it busy
    std::size_t protectedBytes = 0;             ///< so many first bytes are write-protected

    /// Bytes that offsets of requests count.
    std::size_t offsetUnit() const { return access == FruAccess::words ? 2 : 1; }
    /// Bytes that counts of requests and answers count.
    std::size_t countUnit() const { return access == FruAccess::bytes ? 1 : 2; }
};

} // namespace Sim
