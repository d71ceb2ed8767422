// The tables of states and events by name.
#include "sensors/EventNames.h"

#include <algorithm>
#include <array>
#include <span>
#include <string_view>

namespace Tool
{

namespace
{

struct Names {
    std::uint8_t type;
    std::string_view offsets; ///< names of offset 0, 1, 2 ..., between bars
    constexpr bool operator<(const Names& other) const { return type < other.type; }
};

// IPMI 2.0, table 42-2, Generic Event/Reading Type Codes
constexpr std::array<Names, 12> kGeneric{{
    {0x01, "lower non-critical going low|lower non-critical going high|lower critical going low|lower critical going "
           "high|lower non-recoverable going low|lower non-recoverable going high|upper non-critical going low|upper "
           "non-critical going high|upper critical going low|upper critical going high|upper non-recoverable going "
           "low|upper non-recoverable going high"},
    {0x02, "idle|active|busy"},
    {0x03, "state deasserted|state asserted"},
    {0x04, "predictive failure deasserted|predictive failure asserted"},
    {0x05, "limit not exceeded|limit exceeded"},
    {0x06, "performance met|performance lags"},
    {0x07, "OK|non-critical from OK|critical from less severe|non-recoverable from less severe|non-critical from more "
           "severe|critical from non-recoverable|non-recoverable|monitor|informational"},
    {0x08, "device absent|device present"},
    {0x09, "device disabled|device enabled"},
    {0x0a, "running|in test|power off|on line|off line|off duty|degraded|power save|install error"},
    {0x0b, "fully redundant|redundancy lost|redundancy degraded|non-redundant, sufficient, from redundant|"
           "non-redundant, sufficient, from insufficient|non-redundant, insufficient|degraded from fully redundant|"
           "degraded from non-redundant"},
    {0x0c, "D0|D1|D2|D3"},
}};
static_assert(std::is_sorted(kGeneric.begin(), kGeneric.end()));

// IPMI 2.0, table 42-3, Sensor Type Codes
constexpr std::array<Names, 30> kSensorSpecific{{
    {0x05, "chassis intrusion|drive bay intrusion|I/O card area intrusion|processor area intrusion|LAN leash lost|"
           "unauthorized dock|fan area intrusion"},
    {0x06, "secure mode violation|user password violation|setup password violation|network boot password violation|"
           "other pre-boot password violation|out-of-band password violation"},
    {0x07, "IERR|thermal trip|FRB1/BIST failure|FRB2/hang in POST|FRB3/startup failure|configuration error|"
           "uncorrectable CPU-complex error|presence detected|disabled|terminator presence|throttled|"
           "machine check exception|correctable machine check"},
    {0x08, "presence detected|failure detected|predictive failure|input lost|input lost or out of range|"
           "input out of range, but present|configuration error|inactive"},
    {0x09, "power off|power cycle|240VA power down|interlock power down|AC lost|soft power control failure|"
           "failure detected|predictive failure"},
    {0x0c, "correctable ECC|uncorrectable ECC|parity|scrub failed|device disabled|correctable ECC logging limit|"
           "presence detected|configuration error|spare|throttled|critical overtemperature"},
    {0x0d, "drive presence|drive fault|predictive failure|hot spare|consistency check|in critical array|"
           "in failed array|rebuild in progress|rebuild aborted"},
    {0x0f, "firmware error|firmware hang|firmware progress"},
    {0x10, "correctable memory error logging disabled|event type logging disabled|log cleared|all logging disabled|"
           "log full|log almost full|correctable machine check logging disabled"},
    {0x11, "BIOS reset|OS reset|OS shut down|OS power down|OS power cycle|OS NMI|OS expired, status only|"
           "OS pre-timeout interrupt"},
    {0x12, "system reconfigured|OEM system boot|undetermined hardware failure|auxiliary log entry|PEF action|"
           "clock synchronization"},
    {0x13, "front panel NMI|bus timeout|I/O channel check NMI|software NMI|PCI PERR|PCI SERR|EISA fail-safe timeout|"
           "bus correctable error|bus uncorrectable error|fatal NMI|bus fatal error|bus degraded"},
    {0x14, "power button|sleep button|reset button|FRU latch open|FRU service request"},
    {0x19, "soft power control failure|thermal trip"},
    {0x1b, "connected|incorrect cable"},
    {0x1d, "power up|hard reset|warm reset|PXE boot requested|boot to diagnostic|OS hard reset|OS warm reset|restart"},
    {0x1e, "no bootable media|non-bootable diskette|PXE server not found|invalid boot sector|selection timeout"},
    {0x1f, "A: boot completed|C: boot completed|PXE boot completed|diagnostic boot completed|CD-ROM boot completed|"
           "ROM boot completed|boot completed|installation started|installation completed|installation aborted|"
           "installation failed"},
    {0x20, "stop during load|run-time stop|graceful stop|graceful shutdown|soft shutdown by PEF|agent not responding"},
    {0x21, "fault|identify|device installed|ready for installation|ready for removal|slot power off|removal request|"
           "interlock|slot disabled|spare"},
    {0x22, "S0/G0|S1|S2|S3|S4|S5/G2|S4/S5|G3|sleeping in S1, S2 or S3|G1 sleeping|S5 by override|legacy on|"
           "legacy off||unknown"},
    {0x23, "timer expired|hard reset|power down|power cycle|||||timer interrupt"},
    {0x24, "page generated|LAN alert generated|PET generated|SNMP alert generated"},
    {0x25, "present|absent|disabled"},
    {0x27, "heartbeat lost|heartbeat"},
    {0x28, "sensor access degraded|controller access degraded|controller off line|controller unavailable|"
           "sensor failure|FRU failure"},
    {0x29, "battery low|battery failed|presence detected"},
    {0x2a, "activated|deactivated|invalid user name or password|disabled after invalid passwords"},
    {0x2b, "hardware change|firmware change|hardware incompatibility|firmware incompatibility|"
           "invalid hardware version|invalid firmware version|hardware change successful|firmware change successful"},
    {0x2c, "not installed|inactive|activation requested|activation in progress|active|deactivation requested|"
           "deactivation in progress|communication lost"},
}};
static_assert(std::is_sorted(kSensorSpecific.begin(), kSensorSpecific.end()));

std::string nameIn(std::span<const Names> table, std::uint8_t type, unsigned offset)
{
    const auto found = std::lower_bound(table.begin(), table.end(), Names{type, {}});
    if (found == table.end() || found->type != type)
        return "";
    std::string_view rest = found->offsets;
    for (; offset > 0; --offset) {
        const auto bar = rest.find('|');
        if (bar == std::string_view::npos)
            return "";
        rest.remove_prefix(bar + 1);
    }
    return std::string(rest.substr(0, rest.find('|')));
}

std::string nameOf(std::uint8_t eventType, std::uint8_t sensorType, unsigned offset)
{
    return eventType == kSensorSpecificEvents ? nameIn(kSensorSpecific, sensorType, offset)
                                              : nameIn(kGeneric, eventType, offset);
}

} // namespace

std::vector<std::string> eventNames(std::uint8_t eventType, std::uint8_t sensorType, unsigned mask)
{
    std::vector<std::string> names;
    for (unsigned offset = 0; mask >> offset != 0; ++offset) {
        if ((mask >> offset & 1) == 0)
            continue;
        const std::string name = nameOf(eventType, sensorType, offset);
        names.push_back(name.empty() ? "offset " + std::to_string(offset) : name);
    }
    return names;
}

} // namespace Tool
