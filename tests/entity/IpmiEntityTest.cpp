#include "ipmi/IpmiEntity.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <syslog.h>

namespace
{

using Ipmi::IpmiEntity;
using Name = std::pair<unsigned int, std::string>;

TEST(IpmiEntity, Names)
{
    const std::vector<Name> names({Name{0x00, "Unspecified"}, Name{0x1d, "Fan Device"}, Name{0x36, "System Firmware"},
                                   Name{0x37, "Other"}, Name{0x8f, "Other"}, Name{0x90, "Chasis Specific"},
                                   Name{0xaf, "Chasis Specific"}, Name{0xb0, "Board Set Specific"},
                                   Name{0xcf, "Board Set Specific"}, Name{0xd0, "OEM System Integrator defined"},
                                   Name{0xff, "OEM System Integrator defined"}, Name{0x100, "Other"},
                                   Name{~0U, "Other"}});
    for (const auto& [id, name] : names) {
        EXPECT_EQ(IpmiEntity::getName(id), name);
        EXPECT_EQ(IpmiEntity(id, 1, 0).getName(), name);
    }
}

TEST(IpmiEntity, AlertClassesAreLoggedForKnownEntities)
{
    const std::vector<Name> rows({Name{0x00, ""}, Name{0x03, "Processor"}, Name{0x04, "Disk"}, Name{0x20, "Memory"},
                                  Name{0x15, "Power"}, Name{0x19, "Chassis"}, Name{0x1e, "CoolingUnit"},
                                  Name{0x22, "BIOS"}, Name{0x28, "Battery"}, Name{0x36, ""}, Name{0x37, ""}});
    for (const auto& [id, kind] : rows) {
        Support::LogCapture log;
        const IpmiEntity entity(id, 0x81, 2);
        const std::string alertClass = "TRX_" + kind + "IpmiAlertIndication";
        EXPECT_EQ(entity.getAlertClassName(), alertClass);
        std::vector<Support::LogLine> lines;
        if (id < 0x37)
            lines = {{LOG_DEBUG, "EntityId " + std::to_string(id) + " AlertClass " + alertClass}};
        EXPECT_EQ(log.lines(), lines);
        EXPECT_EQ(entity.getInstance(), 1U) << "seven bits";
        EXPECT_EQ(entity.getNode(), 2);
    }
}

} // namespace
