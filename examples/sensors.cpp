// SPDX-License-Identifier: Apache-2.0
// Prints the sensors of node 0, the BMC behind /dev/ipmi0: name, value or state. Run it as root.
#include <ipmi/ipmi.h>

#include <cstdio>

namespace
{

void print(Ipmi::IpmiSensor& sensor)
{
    const auto reading = sensor.getLastReading();
    std::printf("%-24s ", sensor.getName().c_str());
    if (!reading.available())
        std::printf("no reading\n");
    else if (!sensor.isDiscrete() && sensor.isConvertible())
        std::printf("%10.3f %s, %s\n", sensor.convertRawValue(reading.raw), sensor.getUnitsString().c_str(),
                    sensor.getState(false).c_str());
    else
        std::printf("state %s\n", sensor.getState(false).c_str());
}

} // namespace

int main()
{
    if (Ipmi::IpmiIfcOpenIpmiOpen(0) < 0) {
        std::perror("/dev/ipmi0");
        return 1;
    }
    int result = 1;
    // The library logs the reason of a failure with syslog.
    if (Ipmi::IpmiIfcInitForCLI(0) == 0 && Ipmi::IpmiIfcSdrGetInfo(0) == 0) {
        for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0))
            print(*sensor);
        result = 0;
    }
    Ipmi::IpmiIfcCloseForCLI(0);
    return result;
}
