// SPDX-License-Identifier: Apache-2.0
// Names of entity ids, and the classes of their alerts.
#include "ipmi/IpmiEntity.h"

#include "base/Log.h"

namespace Ipmi
{

struct IpmiEntity::Mapping {
    const char* name;
    const char* alertClass;
};

namespace
{

constexpr unsigned int kMappings = 0x37;

constexpr char kGeneric[] = "TRX_IpmiAlertIndication";
constexpr char kProcessor[] = "TRX_ProcessorIpmiAlertIndication";
constexpr char kDisk[] = "TRX_DiskIpmiAlertIndication";
constexpr char kMemory[] = "TRX_MemoryIpmiAlertIndication";
constexpr char kPower[] = "TRX_PowerIpmiAlertIndication";
constexpr char kChassis[] = "TRX_ChassisIpmiAlertIndication";
constexpr char kCooling[] = "TRX_CoolingUnitIpmiAlertIndication";
constexpr char kBios[] = "TRX_BIOSIpmiAlertIndication";
constexpr char kBattery[] = "TRX_BatteryIpmiAlertIndication";

} // namespace

// IPMI 2.0, table 43-13, Entity ID Codes; by entity id.
const IpmiEntity::Mapping IpmiEntity::_mapping[] = {
    /* 00h */ {"Unspecified", kGeneric},
    /* 01h */ {"Other", kGeneric},
    /* 02h */ {"Unknown", kGeneric},
    /* 03h */ {"Processor", kProcessor},
    /* 04h */ {"Disk or Disk Bay", kDisk},
    /* 05h */ {"Peripheral Bay", kGeneric},
    /* 06h */ {"System Management Module", kGeneric},
    /* 07h */ {"System Board", kGeneric},
    /* 08h */ {"Memory Module", kMemory},
    /* 09h */ {"Processor Module", kProcessor},
    /* 0Ah */ {"Power Supply", kPower},
    /* 0Bh */ {"Add-in Card", kGeneric},
    /* 0Ch */ {"Front Panel Board", kGeneric},
    /* 0Dh */ {"Back Panel Board", kGeneric},
    /* 0Eh */ {"Power System Board", kGeneric},
    /* 0Fh */ {"Drive Backplane", kGeneric},
    /* 10h */ {"System Internal Expansion Board", kGeneric},
    /* 11h */ {"Other System Board", kGeneric},
    /* 12h */ {"Processor Board", kGeneric},
    /* 13h */ {"Power Domain", kPower},
    /* 14h */ {"Power Module (DC-to-DC)", kPower},
    /* 15h */ {"Power Distribution", kPower},
    /* 16h */ {"Chassis Back Panel Board", kGeneric},
    /* 17h */ {"System Chassis", kChassis},
    /* 18h */ {"Sub-Chassis", kChassis},
    /* 19h */ {"Other Chassis Board", kChassis},
    /* 1Ah */ {"Disk Drive Bay", kGeneric},
    /* 1Bh */ {"Peripheral Bay", kGeneric},
    /* 1Ch */ {"Device Bay", kGeneric},
    /* 1Dh */ {"Fan Device", kCooling},
    /* 1Eh */ {"Cooling Unit", kCooling},
    /* 1Fh */ {"Cable/Interconnect", kGeneric},
    /* 20h */ {"Memory Device", kMemory},
    /* 21h */ {"System Management Software", kGeneric},
    /* 22h */ {"BIOS", kBios},
    /* 23h */ {"Operating System", kGeneric},
    /* 24h */ {"System Bus", kGeneric},
    /* 25h */ {"Group", kGeneric},
    /* 26h */ {"Remote Management Device", kGeneric},
    /* 27h */ {"External Environment", kGeneric},
    /* 28h */ {"Battery", kBattery},
    /* 29h */ {"Processing Blade", kGeneric},
    /* 2Ah */ {"Connectivity Switch", kGeneric},
    /* 2Bh */ {"Processor/Memory Module", kGeneric},
    /* 2Ch */ {"I/O Module", kGeneric},
    /* 2Dh */ {"Processor/IO Module", kGeneric},
    /* 2Eh */ {"Management Controller Firmware", kGeneric},
    /* 2Fh */ {"IPMI Channel", kGeneric},
    /* 30h */ {"PCI Bus", kGeneric},
    /* 31h */ {"PCI Express Bus", kGeneric},
    /* 32h */ {"SCSI Bus (parallel)", kGeneric},
    /* 33h */ {"SATA/SAS Bus", kGeneric},
    /* 34h */ {"Processor/Front-Side Bus", kGeneric},
    /* 35h */ {"Real Time Clock", kGeneric},
    /* 36h */ {"System Firmware", kGeneric},
};

IpmiEntity::IpmiEntity(unsigned int id, unsigned int instance, int node)
    : id_(id), instance_(instance & 0x7f), node_(node)
{
    static_assert(sizeof _mapping / sizeof *_mapping == kMappings);
}

std::string IpmiEntity::getName(unsigned int id)
{
    if (id < kMappings)
        return _mapping[id].name;
    if (id >= 0x90 && id <= 0xaf)
        return "Chasis Specific"; // the spelling is meant: callers compare it
    if (id >= 0xb0 && id <= 0xcf)
        return "Board Set Specific";
    if (id >= 0xd0 && id <= 0xff)
        return "OEM System Integrator defined";
    return "Other";
}

std::string IpmiEntity::getName() const
{
    return getName(id_);
}

std::string IpmiEntity::getAlertClassName() const
{
    if (id_ >= kMappings)
        return kGeneric;
    TRX::log(LOG_DEBUG, "EntityId %d AlertClass %s", static_cast<int>(id_), _mapping[id_].alertClass);
    return _mapping[id_].alertClass;
}

} // namespace Ipmi
