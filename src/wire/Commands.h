// SPDX-License-Identifier: Apache-2.0
// The commands that library and tool send, by their names in IPMI 2.0, appendix G, and what answers begin with.
#pragma once

#include <cstdint>

namespace Ipmi::wire
{

namespace netfn // IPMI 2.0, table 5-1
{
inline constexpr std::uint8_t kSensorEvent = 0x04, kApp = 0x06, kStorage = 0x0a, kTransport = 0x0c;
}

struct Command {
    std::uint8_t netfn, cmd;
};

// Application: section 20 and 22
inline constexpr Command kGetDeviceId{netfn::kApp, 0x01}, kGetSelfTest{netfn::kApp, 0x04},
    kSetGlobalEnables{netfn::kApp, 0x2e}, kGetGlobalEnables{netfn::kApp, 0x2f}, kGetChannelInfo{netfn::kApp, 0x42},
    kGetSystemInfo{netfn::kApp, 0x59};

// Sensors and events: sections 30 and 35
inline constexpr Command kSetLastProcessed{netfn::kSensorEvent, 0x14}, kGetLastProcessed{netfn::kSensorEvent, 0x15},
    kGetHysteresis{netfn::kSensorEvent, 0x25}, kGetThresholds{netfn::kSensorEvent, 0x27},
    kSetEventEnable{netfn::kSensorEvent, 0x28}, kGetEventEnable{netfn::kSensorEvent, 0x29},
    kRearmEvents{netfn::kSensorEvent, 0x2a}, kGetReading{netfn::kSensorEvent, 0x2d};

// Repository of sensor data records: section 33
inline constexpr Command kGetSdrInfo{netfn::kStorage, 0x20}, kReserveSdr{netfn::kStorage, 0x22},
    kGetSdr{netfn::kStorage, 0x23};

// System event log: section 31
inline constexpr Command kGetSelInfo{netfn::kStorage, 0x40}, kGetSelAllocInfo{netfn::kStorage, 0x41},
    kReserveSel{netfn::kStorage, 0x42}, kGetSelEntry{netfn::kStorage, 0x43}, kDeleteSelEntry{netfn::kStorage, 0x46},
    kClearSel{netfn::kStorage, 0x47}, kGetSelTime{netfn::kStorage, 0x48};

// FRU devices: section 34
inline constexpr Command kGetFruInfo{netfn::kStorage, 0x10}, kReadFru{netfn::kStorage, 0x11};

// LAN: section 23
inline constexpr Command kGetLanParameters{netfn::kTransport, 0x02};

/// Completion codes that somebody has an answer to (IPMI 2.0, table 5-2, and those of single commands).
namespace cc
{
inline constexpr std::uint8_t kOk = 0x00, kParameterNotSupported = 0x80, kSelErasing = 0x81, kNodeBusy = 0xc0,
                              kInvalidCommand = 0xc1, kTimeout = 0xc3, kReservationLost = 0xc5, kInvalidLength = 0xc7,
                              kOutOfRange = 0xc9, kTooManyBytes = 0xca, kNotPresent = 0xcb, kInvalidField = 0xcc,
                              kIllegalCommand = 0xcd, kUnspecified = 0xff;
}

/// What stands in a completion code's place where no answer came.
inline constexpr std::uint8_t kNoAnswer = 0xff;

/// Ids that Get SDR and Get SEL Entry have a meaning of their own for.
inline constexpr std::uint16_t kFirstRecord = 0x0000, kLastRecord = 0xffff;

} // namespace Ipmi::wire
