// SPDX-License-Identifier: Apache-2.0
// A sensor that reports states instead of a value.
#pragma once

#include "ipmi/IpmiSensor.h"

namespace Ipmi
{

class TRX_IPMI_API IpmiDiscreteSensor final : public IpmiSensor
{
public:
    IpmiDiscreteSensor(int len, const unsigned char* sdr, int node);

    bool isDiscrete() const override { return true; }
    std::string getState(bool refresh) override;
    int getSensorState(int& state) override;
    std::uint16_t getAssertionEventMask() const override;
    std::uint16_t getDeassertionEventMask() const override;
    int rearmEvents(unsigned short assertions, unsigned short deassertions) const override;
    int getEventEnable(unsigned char& flags, unsigned short& assertions, unsigned short& deassertions) const override;
    int setEventEnable(unsigned char flags, unsigned short assertions, unsigned short deassertions) const override;

    /// Which states can be read, bit n for offset n.
    std::uint16_t getReadingMask() const;
};

} // namespace Ipmi
