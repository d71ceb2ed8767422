// SPDX-License-Identifier: Apache-2.0
// What travels between the device shim and the simulated driver: one datagram each, in host byte order, since both ends
// are on one machine. Plain data: the shim uses it without the C++ library.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace Sim::Frame
{

enum Kind : std::uint8_t {
    kHello = 1,   ///< driver to user, once: the open's result, and with it the descriptor of a Status
    kCommand = 2, ///< user to driver: a request
    kEvents = 3,  ///< user to driver: asynchronous events wanted (value) or not
    kMessage = 4, ///< driver to user: an answer or an event
};

/// The driver's receive types and address types, and its limits, as <linux/ipmi.h> and the driver itself have them.
inline constexpr std::uint8_t kResponse = 1, kAsyncEvent = 2;
inline constexpr std::uint8_t kIpmb = 0x01, kIpmbBroadcast = 0x41, kSystemInterface = 0x0c;
inline constexpr std::uint8_t kBmcChannel = 0x0f, kChannels = 12;
inline constexpr std::size_t kLongestMessage = 272, kLongestRequest = 270;
inline constexpr int kOutstandingPerUser = 100, kUsersPerDevice = 30;

struct Header {
    std::uint8_t kind;
    std::uint8_t receiveType;
    std::uint8_t addressType;
    std::uint8_t channel;
    std::uint8_t slave;
    std::uint8_t lun;
    std::uint8_t netfn;
    std::uint8_t cmd;
    std::int64_t msgid;
    std::int32_t retries;    ///< command: below 0 means the driver's default
    std::uint32_t retryTime; ///< command: milliseconds, 0 means the driver's default
    std::int32_t error;      ///< hello: errno of the open, 0 when it went well
    std::uint32_t value;     ///< hello: bit n set when channel n is an IPMB; events: on or off
};
static_assert(sizeof(Header) == 32);

struct Datagram {
    Header header;
    std::uint8_t data[kLongestMessage];
};

/// What a device shows its users: a page of memory, by the descriptor that comes with the hello.
struct Status {
    std::atomic<std::uint32_t> busy; ///< not 0: commands are refused
};
static_assert(std::atomic<std::uint32_t>::is_always_lock_free);

} // namespace Sim::Frame
