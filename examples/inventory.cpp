// SPDX-License-Identifier: Apache-2.0
// Prints the hardware inventory of the server behind node 0: each FRU device with its areas, fields and records, and
// the BMC's own address. Run it as root.
#include <ipmi/ipmi.h>

#include <cstdio>

namespace
{

using Ipmi::IpmiIfc;

void print(const std::vector<Ipmi::IpmiFruField>& fields)
{
    for (const Ipmi::IpmiFruField& field : fields)
        std::printf("    %s: %s%s%s\n", field.name.c_str(), field.value.c_str(), field.unit.empty() ? "" : " ",
                    field.unit.c_str());
}

void print(const Ipmi::IpmiFruArea& area)
{
    const char* mark = !area.whole ? " (cut off)" : area.checksumOk ? "" : " (checksum wrong)";
    std::printf("  %s%s\n", kindName(area.kind), mark);
    print(area.contents->fields());
}

void printInventory()
{
    for (const Ipmi::IpmiFruDevice& device : IpmiIfc::getFruDevices(0)) {
        std::printf("%s (FRU %u of controller 0x%02x)%s\n", device.name.c_str(), device.id, device.controller,
                    device.areas.empty() ? ": nothing could be read of it" : "");
        for (const Ipmi::IpmiFruArea& area : device.areas)
            print(area);
    }
    const Ipmi::IpmiLanStatus lan = IpmiIfc::getLan(0)->status();
    std::printf("BMC at %s\n", lan.ipv4.address.value_or("an unknown address").c_str());
}

} // namespace

int main()
{
    if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0) {
        std::perror("/dev/ipmi0");
        return 1;
    }
    const bool isLoaded = Ipmi::IpmiIfcInitForCLI(0) == 0 && Ipmi::IpmiIfcSdrGetInfo(0) == 0;
    if (isLoaded) {
        Ipmi::IpmiIfcFruInstantiateAll(0);
        printInventory();
    }
    Ipmi::IpmiIfcCloseForCLI(0);
    return isLoaded ? 0 : 1;
}
