// SPDX-License-Identifier: Apache-2.0
#include <ipmi/ipmi.h>

#include <iostream>

int main()
{
    if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0)    // /dev/ipmi0; the reason is in errno and in the system log
        return 1;
    if (Ipmi::IpmiIfcInitForCLI(0) == 0 && Ipmi::IpmiIfcSdrGetInfo(0) == 0) // reads the whole repository: this takes a while
        for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0)) {
            const auto reading = sensor->getLastReading();
            std::cout << sensor->getName() << ": ";
            if (!reading.available())
                std::cout << "no reading\n";
            else if (sensor->isConvertible())
                std::cout << sensor->convertRawValue(reading.raw) << ' ' << sensor->getUnitsString() << '\n';
            else
                std::cout << sensor->getState(false) << '\n';
        }
    Ipmi::IpmiIfcCloseForCLI(0);
}
