// SPDX-License-Identifier: Apache-2.0
// IPMI 2.0, table 42-2, Generic Event/Reading Type Codes, in ipmitool's short words.
#include "sel/EventTexts.h"

namespace Ipmi
{

namespace
{

// "going low" ends with a blank: this is meant.
constexpr EventText kGenericRows[] = {
    {0x01, 0x00, "Threshold", "Lower Non-critical going low "},
    {0x01, 0x01, "Threshold", "Lower Non-critical going high"},
    {0x01, 0x02, "Threshold", "Lower Critical going low "},
    {0x01, 0x03, "Threshold", "Lower Critical going high"},
    {0x01, 0x04, "Threshold", "Lower Non-recoverable going low "},
    {0x01, 0x05, "Threshold", "Lower Non-recoverable going high"},
    {0x01, 0x06, "Threshold", "Upper Non-critical going low "},
    {0x01, 0x07, "Threshold", "Upper Non-critical going high"},
    {0x01, 0x08, "Threshold", "Upper Critical going low "},
    {0x01, 0x09, "Threshold", "Upper Critical going high"},
    {0x01, 0x0a, "Threshold", "Upper Non-recoverable going low "},
    {0x01, 0x0b, "Threshold", "Upper Non-recoverable going high"},
    {0x02, 0x00, "Usage State", "Transition to Idle"},
    {0x02, 0x01, "Usage State", "Transition to Active"},
    {0x02, 0x02, "Usage State", "Transition to Busy"},
    {0x03, 0x00, "Digital State", "State Deasserted"},
    {0x03, 0x01, "Digital State", "State Asserted"},
    {0x04, 0x00, "Digital State", "Predictive Failure Deasserted"},
    {0x04, 0x01, "Digital State", "Predictive Failure Asserted"},
    {0x05, 0x00, "Digital State", "Limit Not Exceeded"},
    {0x05, 0x01, "Digital State", "Limit Exceeded"},
    {0x06, 0x00, "Digital State", "Performance Met"},
    {0x06, 0x01, "Digital State", "Performance Lags"},
    {0x07, 0x00, "Severity State", "Transition to OK"},
    {0x07, 0x01, "Severity State", "Transition to Non-critical from OK"},
    {0x07, 0x02, "Severity State", "Transition to Critical from less severe"},
    {0x07, 0x03, "Severity State", "Transition to Non-recoverable from less severe"},
    {0x07, 0x04, "Severity State", "Transition to Non-critical from more severe"},
    {0x07, 0x05, "Severity State", "Transition to Critical from Non-recoverable"},
    {0x07, 0x06, "Severity State", "Transition to Non-recoverable"},
    {0x07, 0x07, "Severity State", "Monitor"},
    {0x07, 0x08, "Severity State", "Informational"},
    {0x08, 0x00, "Availability State", "Device Absent"},
    {0x08, 0x01, "Availability State", "Device Present"},
    {0x09, 0x00, "Availability State", "Device Disabled"},
    {0x09, 0x01, "Availability State", "Device Enabled"},
    {0x0a, 0x00, "Availability State", "Transition to Running"},
    {0x0a, 0x01, "Availability State", "Transition to In Test"},
    {0x0a, 0x02, "Availability State", "Transition to Power Off"},
    {0x0a, 0x03, "Availability State", "Transition to On Line"},
    {0x0a, 0x04, "Availability State", "Transition to Off Line"},
    {0x0a, 0x05, "Availability State", "Transition to Off Duty"},
    {0x0a, 0x06, "Availability State", "Transition to Degraded"},
    {0x0a, 0x07, "Availability State", "Transition to Power Save"},
    {0x0a, 0x08, "Availability State", "Install Error"},
    {0x0b, 0x00, "Redundancy State", "Fully Redundant"},
    {0x0b, 0x01, "Redundancy State", "Redundancy Lost"},
    {0x0b, 0x02, "Redundancy State", "Redundancy Degraded"},
    {0x0b, 0x03, "Redundancy State", "Non-Redundant: Sufficient from Redundant"},
    {0x0b, 0x04, "Redundancy State", "Non-Redundant: Sufficient from Insufficient"},
    {0x0b, 0x05, "Redundancy State", "Non-Redundant: Insufficient Resources"},
    {0x0b, 0x06, "Redundancy State", "Redundancy Degraded from Fully Redundant"},
    {0x0b, 0x07, "Redundancy State", "Redundancy Degraded from Non-Redundant"},
    {0x0c, 0x00, "ACPI Device Power State", "D0 Power State"},
    {0x0c, 0x01, "ACPI Device Power State", "D1 Power State"},
    {0x0c, 0x02, "ACPI Device Power State", "D2 Power State"},
    {0x0c, 0x03, "ACPI Device Power State", "D3 Power State"},
    // Sensor types: no event has them as its event/reading type.
    {0x17, 0x00, "Add-in Card", "Add-in Card"},
    {0x17, 0x01, "Add-in Card", "Add-in Card"},
    {0x1b, 0x00, "Cable/Interconnect", "Connected"},
    {0x1b, 0x01, "Cable/Interconnect", "Config Error"},
};
static_assert(inOrder(kGenericRows));

} // namespace

constinit const EventTexts kGenericEventTexts{kGenericRows};

} // namespace Ipmi
