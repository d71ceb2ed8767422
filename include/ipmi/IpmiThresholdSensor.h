// SPDX-License-Identifier: Apache-2.0
// A sensor that compares an analog value with thresholds.
#pragma once

#include "ipmi/IpmiSensor.h"

namespace Ipmi
{

class TRX_IPMI_API IpmiThresholdSensor final : public IpmiSensor
{
public:
    IpmiThresholdSensor(int len, const unsigned char* sdr, int node);

    bool isDiscrete() const override { return false; }
    std::string getState(bool refresh) override;
    int getSensorState(int& state) override;
    std::uint16_t getAssertionEventMask() const override;
    std::uint16_t getDeassertionEventMask() const override;
    int rearmEvents(unsigned short assertions, unsigned short deassertions) const override;
    int getEventEnable(unsigned char& flags, unsigned short& assertions, unsigned short& deassertions) const override;
    int setEventEnable(unsigned char flags, unsigned short assertions, unsigned short deassertions) const override;

    unsigned char getLowerThresholdReadingMask() const;
    unsigned char getUpperThresholdReadingMask() const;
    /// Which thresholds the record lets read; bit 0 lower non-critical ... bit 5 upper non-recoverable.
    unsigned char getReadableMask() const;
    unsigned char getSettableMask() const;

    /// The six thresholds in the sensor's units, from the last answer to Get Sensor Thresholds (IPMI 2.0, 35.9); they
    /// send nothing. Throw CmpiStatus rc 1 when the record or that answer does not let the threshold be read.
    double getLowerThresholdNonCritical() const;
    double getLowerThresholdCritical() const;
    double getLowerThresholdNonRecoverable() const;
    double getUpperThresholdNonCritical() const;
    double getUpperThresholdCritical() const;
    double getUpperThresholdNonRecoverable() const;

private:
    double threshold(int index) const;
};

} // namespace Ipmi
