// SPDX-License-Identifier: Apache-2.0
// Names of IPMI's commands, for the counters.
#include "sim/control/CommandNames.h"

#include <algorithm>
#include <functional>

namespace Sim
{

namespace
{

struct CommandName {
    std::uint16_t code; ///< network function and command
    std::string_view name;
};

// IPMI 2.0, table G-1, Command Number Assignments: those that BMCs of servers are asked.
constexpr CommandName kNames[] = {
    {0x0000, "Get Chassis Capabilities"},
    {0x0001, "Get Chassis Status"},
    {0x0002, "Chassis Control"},
    {0x0401, "Get Event Receiver"},
    {0x0402, "Platform Event"},
    {0x0414, "Set Last Processed Event ID"},
    {0x0415, "Get Last Processed Event ID"},
    {0x0420, "Get Device SDR Info"},
    {0x0421, "Get Device SDR"},
    {0x0422, "Reserve Device SDR Repository"},
    {0x0423, "Get Sensor Reading Factors"},
    {0x0424, "Set Sensor Hysteresis"},
    {0x0425, "Get Sensor Hysteresis"},
    {0x0426, "Set Sensor Threshold"},
    {0x0427, "Get Sensor Threshold"},
    {0x0428, "Set Sensor Event Enable"},
    {0x0429, "Get Sensor Event Enable"},
    {0x042a, "Re-arm Sensor Events"},
    {0x042b, "Get Sensor Event Status"},
    {0x042d, "Get Sensor Reading"},
    {0x042e, "Set Sensor Type"},
    {0x042f, "Get Sensor Type"},
    {0x0430, "Set Sensor Reading and Event Status"},
    {0x0601, "Get Device ID"},
    {0x0602, "Cold Reset"},
    {0x0603, "Warm Reset"},
    {0x0604, "Get Self Test Results"},
    {0x0608, "Get Device GUID"},
    {0x0622, "Reset Watchdog Timer"},
    {0x0624, "Set Watchdog Timer"},
    {0x0625, "Get Watchdog Timer"},
    {0x062e, "Set BMC Global Enables"},
    {0x062f, "Get BMC Global Enables"},
    {0x0630, "Clear Message Flags"},
    {0x0631, "Get Message Flags"},
    {0x0633, "Get Message"},
    {0x0634, "Send Message"},
    {0x0635, "Read Event Message Buffer"},
    {0x0637, "Get System GUID"},
    {0x0640, "Set Channel Access"},
    {0x0641, "Get Channel Access"},
    {0x0642, "Get Channel Info"},
    {0x0644, "Get User Access"},
    {0x0654, "Get Channel Cipher Suites"},
    {0x0658, "Set System Info Parameters"},
    {0x0659, "Get System Info Parameters"},
    {0x0a10, "Get FRU Inventory Area Info"},
    {0x0a11, "Read FRU Data"},
    {0x0a12, "Write FRU Data"},
    {0x0a20, "Get SDR Repository Info"},
    {0x0a21, "Get SDR Repository Allocation Info"},
    {0x0a22, "Reserve SDR Repository"},
    {0x0a23, "Get SDR"},
    {0x0a28, "Get SDR Repository Time"},
    {0x0a40, "Get SEL Info"},
    {0x0a41, "Get SEL Allocation Info"},
    {0x0a42, "Reserve SEL"},
    {0x0a43, "Get SEL Entry"},
    {0x0a44, "Add SEL Entry"},
    {0x0a45, "Partial Add SEL Entry"},
    {0x0a46, "Delete SEL Entry"},
    {0x0a47, "Clear SEL"},
    {0x0a48, "Get SEL Time"},
    {0x0a49, "Set SEL Time"},
    {0x0a5c, "Get SEL Time UTC Offset"},
    {0x0a5d, "Set SEL Time UTC Offset"},
    {0x0c01, "Set LAN Configuration Parameters"},
    {0x0c02, "Get LAN Configuration Parameters"},
};
static_assert(std::ranges::is_sorted(kNames, std::less<>(), &CommandName::code));

} // namespace

std::string_view commandName(std::uint8_t netfn, std::uint8_t cmd)
{
    const auto code = static_cast<std::uint16_t>(netfn << 8 | cmd);
    const auto found = std::ranges::lower_bound(kNames, code, std::less<>(), &CommandName::code);
    return found != std::end(kNames) && found->code == code ? found->name : std::string_view();
}

} // namespace Sim
