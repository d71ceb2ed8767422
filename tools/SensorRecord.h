// A sensor's record, decoded field by field.
#pragma once

#include "Facts.h"
#include "SdrBytes.h"
#include "SensorView.h"

#include <string>

namespace Tool
{

class SensorRecord
{
public:
    /// Adds all that the record says to `facts`, in its order.
    SensorRecord(const Ipmi::IpmiSensor& sensor, const SensorView& view, Facts& facts);

private:
    void identity();
    void capabilities();
    void units();
    void factors();
    void addValue(std::string key, double value);
    void analogReadings();
    void masks();
    void thresholdMasks();
    void events(std::string key, unsigned mask);
    void thresholdList(std::string key, unsigned mask);

    const Ipmi::IpmiSensor& sensor_;
    const SensorView& view_;
    SdrBytes record_;
    Facts& facts_;
};

} // namespace Tool
