#include "ipmi/IpmiEntity.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <syslog.h>

namespace
{

using Ipmi::IpmiEntity;

TEST(IpmiEntity, NamesAndAlertClasses)
{
    const struct {
        unsigned int id;
        const char *name, *kind; ///< kind: what the alert class has between its fixed ends
    } rows[] = {
        {0x00, "Unspecified", ""},
        {0x03, "Processor", "Processor"},
        {0x04, "Disk or Disk Bay", "Disk"},
        {0x07, "System Board", ""},
        {0x08, "Memory Module", "Memory"},
        {0x09, "Processor Module", "Processor"},
        {0x0a, "Power Supply", "Power"},
        {0x0b, "Add-in Card", ""},
        {0x12, "Processor Board", ""},
        {0x13, "Power Domain", "Power"},
        {0x14, "Power Module (DC-to-DC)", "Power"},
        {0x15, "Power Distribution", "Power"},
        {0x17, "System Chassis", "Chassis"},
        {0x18, "Sub-Chassis", "Chassis"},
        {0x19, "Other Chassis Board", "Chassis"},
        {0x1a, "Disk Drive Bay", ""},
        {0x1b, "Peripheral Bay", ""},
        {0x1d, "Fan Device", "CoolingUnit"},
        {0x1e, "Cooling Unit", "CoolingUnit"},
        {0x20, "Memory Device", "Memory"},
        {0x22, "BIOS", "BIOS"},
        {0x28, "Battery", "Battery"},
        {0x2b, "Processor/Memory Module", ""},
        {0x2d, "Processor/IO Module", ""},
        {0x36, "System Firmware", ""},
        {0x37, "Other", ""},
        {0x8f, "Other", ""},
        {0x90, "Chasis Specific", ""},
        {0xaf, "Chasis Specific", ""},
        {0xb0, "Board Set Specific", ""},
        {0xcf, "Board Set Specific", ""},
        {0xd0, "OEM System Integrator defined", ""},
        {0xff, "OEM System Integrator defined", ""},
        {0x100, "Other", ""},
        {~0U, "Other", ""},
    };
    for (const auto& row : rows) {
        Support::LogCapture log;
        const IpmiEntity entity(row.id, 0x81, 2);
        EXPECT_EQ(entity.getName(), row.name);
        EXPECT_EQ(IpmiEntity::getName(row.id), row.name);
        const std::string alertClass = "TRX_" + std::string(row.kind) + "IpmiAlertIndication";
        EXPECT_EQ(entity.getAlertClassName(), alertClass);
        const std::string line = "EntityId " + std::to_string(row.id) + " AlertClass " + alertClass;
        EXPECT_EQ(log.has(LOG_DEBUG, line), row.id < 0x37);
        EXPECT_EQ(log.lines().size(), row.id < 0x37 ? 1U : 0U);
        EXPECT_EQ(entity.getInstance(), 1U) << "seven bits";
        EXPECT_EQ(entity.getNode(), 2);
    }
}

} // namespace
