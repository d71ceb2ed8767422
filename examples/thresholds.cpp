// SPDX-License-Identifier: Apache-2.0
// Prints the threshold sensors of node 0, the BMC behind /dev/ipmi0: value, state, and the thresholds that each has.
// Run it as root.
#include <ipmi/ipmi.h>

#include <cstdio>

namespace
{

using Sensor = Ipmi::IpmiThresholdSensor;

struct Threshold {
    const char* name;
    double (Sensor::*value)() const;
};

constexpr Threshold kThresholds[] = {
    {"lower non-recoverable", &Sensor::getLowerThresholdNonRecoverable},
    {"lower critical", &Sensor::getLowerThresholdCritical},
    {"lower non-critical", &Sensor::getLowerThresholdNonCritical},
    {"upper non-critical", &Sensor::getUpperThresholdNonCritical},
    {"upper critical", &Sensor::getUpperThresholdCritical},
    {"upper non-recoverable", &Sensor::getUpperThresholdNonRecoverable},
};

void print(const Sensor& sensor, const Threshold& threshold)
{
    try {
        const double value = (sensor.*threshold.value)();
        std::printf("    %-22s %10.3f %s\n", threshold.name, value, sensor.getUnitsString().c_str());
    } catch (const Ipmi::CmpiStatus& status) {
        if (status.rc() != CMPI_RC_ERR_FAILED) // code 1: the sensor does not have this one, or it cannot be read
            throw;
    }
}

void print(Sensor& sensor)
{
    const auto reading = sensor.getLastReading();
    std::printf("%s: ", sensor.getName().c_str());
    if (reading.available() && sensor.isConvertible())
        std::printf("%.3f %s, %s\n", sensor.convertRawValue(reading.raw), sensor.getUnitsString().c_str(),
                    sensor.getState(false).c_str());
    else
        std::printf("no value\n");
    for (const Threshold& threshold : kThresholds)
        print(sensor, threshold);
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
        for (const auto& sensor : Ipmi::IpmiIfc::getSensors(0)) {
            if (auto* threshold = dynamic_cast<Sensor*>(sensor.get()))
                print(*threshold);
        }
    }
    Ipmi::IpmiIfcCloseForCLI(0);
    return isLoaded ? 0 : 1;
}
