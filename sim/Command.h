// A command that a simulated controller knows: its lengths and its handler.
#pragma once

#include "sim/BmcState.h"
#include "sim/Message.h"

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <span>

namespace Sim
{

/// Completion codes, IPMI 2.0, table 5-2.
enum Completion : std::uint8_t {
    kOk = 0x00,
    kEmpty = 0x80, ///< command specific: queue or buffer empty; Get System Info Parameters: parameter not supported
    kReadOnly = 0x82,
    kNakOnWrite = 0x83, ///< Send Message: nobody is at that address
    kNodeBusy = 0xc0,
    kInvalidCommand = 0xc1,
    kInvalidForLun = 0xc2,
    kInvalidLength = 0xc7,
    kOutOfRange = 0xc9,
    kTooManyBytes = 0xca,
    kNotPresent = 0xcb,
    kInvalidField = 0xcc,
    kIllegalForSensor = 0xcd,
    kReservationCancelled = 0xc5,
    kOutOfSpace = 0xc4,
    kErasing = 0x81, ///< command specific: a clear of the event log goes on
};

inline constexpr std::uint8_t kChassisNetfn = 0x00, kSensorNetfn = 0x04, kAppNetfn = 0x06, kStorageNetfn = 0x0a;

using Handler = Bytes (*)(BmcState& state, const Request& request);

struct Command {
    std::uint8_t netfn;
    std::uint8_t cmd;
    std::size_t shortest; ///< request data bytes
    std::size_t longest;
    Handler handler;
    bool everywhere = false; ///< satellites and sensor owners know it too, at each LUN
};

// One table per area of IPMI 2.0.
std::span<const Command> appCommands();
std::span<const Command> chassisCommands();
std::span<const Command> sensorCommands();
std::span<const Command> sdrCommands();
std::span<const Command> selCommands();
std::span<const Command> eventCommands();
std::span<const Command> fruCommands();

// Answers and requests as bytes.
inline void putWord(Bytes& out, unsigned value)
{
    out.push_back(static_cast<std::uint8_t>(value & 0xff));
    out.push_back(static_cast<std::uint8_t>(value >> 8 & 0xff));
}

inline void putLong(Bytes& out, std::uint32_t value)
{
    putWord(out, value & 0xffff);
    putWord(out, value >> 16);
}

template <typename Range> void putBytes(Bytes& out, const Range& bytes)
{
    out.insert(out.end(), std::begin(bytes), std::end(bytes));
}

inline std::uint16_t wordAt(std::span<const std::uint8_t> bytes, std::size_t offset)
{
    return offset + 1 < bytes.size() ? static_cast<std::uint16_t>(bytes[offset] | bytes[offset + 1] << 8)
                                     : std::uint16_t{0};
}

} // namespace Sim
