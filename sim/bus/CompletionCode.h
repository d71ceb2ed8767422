// SPDX-License-Identifier: Apache-2.0
// How a controller says that a command went well, or why it did not.
#pragma once

#include <cstdint>

namespace Sim
{

/// IPMI 2.0, table 5-2; the lowest ones are of single commands.
enum Completion : std::uint8_t {
    kOk = 0x00,
    kEmpty = 0x80,          ///< queue or buffer empty; Get System Info Parameters: parameter not supported
    kWriteProtected = 0x80, ///< Write FRU Data: write-protected offset
    kErasing = 0x81,        ///< a clear of the event log goes on
    kFruBusy = 0x81,        ///< Read and Write FRU Data: FRU device busy
    kReadOnly = 0x82,
    kNakOnWrite = 0x83, ///< Send Message: nobody is at that address
    kNodeBusy = 0xc0,
    kInvalidCommand = 0xc1,
    kInvalidForLun = 0xc2,
    kOutOfSpace = 0xc4,
    kReservationCancelled = 0xc5,
    kInvalidLength = 0xc7,
    kOutOfRange = 0xc9,
    kTooManyBytes = 0xca,
    kNotPresent = 0xcb,
    kInvalidField = 0xcc,
    kIllegalForSensor = 0xcd,
};

} // namespace Sim
